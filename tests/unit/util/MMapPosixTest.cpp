#include "util/MMap.h"

#include "support/Bytes.h"
#include "support/LogRecord.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>

// What can be answered on POSIX alone.

namespace plate_mend {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string hexadecimal(int number) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", static_cast<unsigned int>(number));
    return text;
}

auto map_error(const std::string& text, int error) {
    return test::ErrorLine("src/util/MMap.cpp", "MMAP::MMAP", text + hexadecimal(error));
}

/// Takes away a limit of this process for as long as it lives.
class Limit {
  public:
    Limit(int resource, rlim_t value) : resource_(resource) {
        ::getrlimit(resource_, &before_);
        rlimit limit = before_;
        limit.rlim_cur = value;
        ::setrlimit(resource_, &limit);
    }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;
    ~Limit() { ::setrlimit(resource_, &before_); }

  private:
    int resource_;
    rlimit before_{};
};

/// The bytes of address space that this process uses.
rlim_t address_space() {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

/// An ordinary user's rights for as long as it lives, where the process is root.
class OrdinaryUser {
  public:
    OrdinaryUser() : before_(::geteuid()) { is_root_ = before_ == 0 && ::seteuid(kNobody) == 0; }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() {
        if (is_root_ && ::seteuid(before_) != 0) {
            std::abort();
        }
    }

  private:
    static constexpr uid_t kNobody = 65534;
    uid_t before_;
    bool is_root_;
};

TEST(MMapPosix, FileThatCannotBeOpenedIsLoggedWithErrno) {
    test::reset_stand_ins();
    const test::TempDir folder;
    test::write_file(folder / "file", {1});
    {
        const Limit no_more_files(RLIMIT_NOFILE, 0);
        EXPECT_EQ(MMAP(folder / "file").size(), 0U);
    }
    EXPECT_THAT(test::logged_lines(), ElementsAre(map_error("Open File Error ", EMFILE)));
}

TEST(MMapPosix, FileThatCannotBeMappedIsLoggedWithErrnoAndItsDescriptorStaysOpen) {
    test::reset_stand_ins();
    const test::TempDir folder;
    test::write_file(folder / "file", {});
    std::filesystem::resize_file(folder / "file", std::uintmax_t{1} << 32); // Sparse.
    const int next_descriptor = ::dup(0);
    ::close(next_descriptor);
    {
        const Limit no_more_memory(RLIMIT_AS, address_space() + (rlim_t{1} << 30));
        EXPECT_EQ(MMAP(folder / "file").size(), 0U);
    }
    EXPECT_THAT(test::logged_lines(), ElementsAre(map_error("Map view of file ", ENOMEM)));
    const int descriptor_after = ::dup(0);
    EXPECT_EQ(descriptor_after, next_descriptor + 1);
    ::close(descriptor_after);
    ::close(next_descriptor); // What the failed construction left open.
}

TEST(MMapPosix, CloseClosesTheDescriptor) {
    const test::TempDir folder;
    test::write_file(folder / "file", {1});
    const int next_descriptor = ::dup(0);
    ::close(next_descriptor);
    for (int round = 0; round < 3; ++round) {
        MMAP map(folder / "file");
        map.close();
    }
    const int descriptor_after = ::dup(0);
    EXPECT_EQ(descriptor_after, next_descriptor);
    ::close(descriptor_after);
}

TEST(MMapPosix, CopyOnWriteKeepsWritesFromTheFile) {
    const test::TempDir folder;
    test::write_file(folder / "file", {1, 2, 3});
    {
        const MMAP map(folder / "file", false);
        ASSERT_EQ(map.size(), 3U);
        map.base[1] = 9;
        EXPECT_EQ(map.bytes()[1], 9);
    }
    EXPECT_EQ(test::read_file(folder / "file"), (test::Bytes{1, 2, 3}));
}

TEST(MMapPosix, AnythingButARegularFileHasSizeZero) {
    test::reset_stand_ins();
    const test::TempDir folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(MMAP(folder / "pipe").size(), 0U);
    EXPECT_EQ(MMAP("/dev/null").size(), 0U);
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

TEST(MMapPosix, FileThatTheProcessMayNotWriteIsOpenedByNoMode) {
    test::reset_stand_ins();
    const test::TempDir folder;
    test::write_file(folder / "file", {1});
    ASSERT_EQ(::chmod((folder / "file").c_str(), 0444), 0);
    const OrdinaryUser user;
    EXPECT_EQ(MMAP(folder / "file").size(), 0U);
    EXPECT_EQ(MMAP(folder / "file", true).size(), 0U);
    EXPECT_EQ(MMAP(folder / "file", false).size(), 0U);
    const auto line = map_error("Open File Error ", EACCES);
    EXPECT_THAT(test::logged_lines(), ElementsAre(line, line, line));
}

} // namespace
} // namespace plate_mend
