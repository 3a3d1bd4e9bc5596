#include "platform/Files.h"

#include "faults/Limits.h"
#include "host/platform/Errors.h"
#include "host/platform/FilesFixture.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <csignal>
#include <limits>

// Links, pipes, devices, permissions and the limits of a user.

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;
using platform::NewFile;
using platform::SourceFile;

class FilesPosix : public FilesFixture {
  protected:
    fs::path link = folder / "link";
};

TEST_F(FilesPosix, StampsFollowLinksAndNamesDoNot) {
    write_file(file, content);
    fs::create_symlink(file, link);
    fs::create_symlink(folder / "missing", folder / "broken");
    ASSERT_TRUE(platform::stamp_of(link));
    EXPECT_EQ(platform::stamp_of(link)->index, platform::stamp_of(file)->index);
    EXPECT_FALSE(platform::stamp_of(folder / "broken"));
    EXPECT_TRUE(platform::is_taken(folder / "broken"));
}

TEST_F(FilesPosix, LoopOfLinksIsAnErrorAndTakesItsName) {
    fs::create_symlink(link, link);
    EXPECT_EQ(error_of([&] { (void)platform::stamp_of(link); }), std::errc::too_many_symbolic_link_levels);
    EXPECT_TRUE(platform::is_taken(link));
}

TEST_F(FilesPosix, FolderThatMayNotBeEnteredIsAnError) {
    fs::create_directory(folder / "closed");
    fs::permissions(folder / "closed", fs::perms::none);
    fs::permissions(folder.path(), fs::perms::all);
    const WithoutPrivileges without;
    EXPECT_EQ(error_of([&] { (void)platform::stamp_of(folder / "closed" / "x"); }),
              std::errc::permission_denied);
    EXPECT_EQ(error_of([&] { (void)platform::is_taken(folder / "closed" / "x"); }),
              std::errc::permission_denied);
}

TEST_F(FilesPosix, DevicesAndPipesAreNeitherFilesNorFolders) {
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    for (const fs::path& path : {file, fs::path("/dev/null")}) {
        const auto stamp = platform::stamp_of(path);
        ASSERT_TRUE(stamp);
        EXPECT_FALSE(stamp->regular);
        EXPECT_FALSE(stamp->folder);
        EXPECT_EQ(error_of([&] { SourceFile{path}; }), std::errc::invalid_argument);
        EXPECT_EQ(error_of([&] { platform::sync_file(path); }), std::errc::invalid_argument);
        EXPECT_TRUE(error_of([&] { (void)platform::open_to_append(path); }));
        EXPECT_TRUE(error_of([&] { (void)platform::Lock::take(path); }));
    }
}

TEST_F(FilesPosix, TimesBeyondTheRangeAreClamped) {
    write_file(file, content);
    const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, timespec{15'000'000'000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times.data(), 0), 0);
    struct stat kept {};
    ASSERT_EQ(::stat(file.c_str(), &kept), 0);
    if (kept.st_mtim.tv_sec <= std::numeric_limits<std::int64_t>::max() / 1'000'000'000) {
        GTEST_SKIP() << "this file system has no such times";
    }
    constexpr std::int64_t kYear2260 = 9'151'488'000'000'000'000;
    EXPECT_GT(platform::stamp_of(file)->modified, kYear2260);
}

TEST_F(FilesPosix, BytesThatCannotBeReadAreAnError) {
    // A file by its kind, with nothing at its start.
    const SourceFile source("/proc/self/mem");
    Bytes bytes(10);
    EXPECT_EQ(error_of([&] { (void)source.read(0, bytes.data(), bytes.size()); }), std::errc::io_error);
}

TEST_F(FilesPosix, SourceIsFollowedThroughALink) {
    write_file(file, content);
    fs::create_symlink(file, link);
    Bytes bytes(content.size());
    EXPECT_EQ(SourceFile(link).read(0, bytes.data(), bytes.size()), content.size());
    EXPECT_EQ(bytes, content);
}

TEST_F(FilesPosix, NewFileIsNotCreatedThroughALink) {
    write_file(file, content);
    fs::create_symlink(file, link);
    fs::create_symlink(folder / "missing", folder / "broken");
    EXPECT_EQ(error_of([&] { NewFile{link}; }), std::errc::file_exists);
    EXPECT_EQ(error_of([&] { NewFile{folder / "broken"}; }), std::errc::file_exists);
    EXPECT_FALSE(fs::exists(folder / "missing"));
    EXPECT_EQ(read_file(file), content);
}

TEST_F(FilesPosix, NothingIsAppendedThroughALink) {
    write_file(file, content);
    fs::create_symlink(file, link);
    EXPECT_EQ(error_of([&] { (void)platform::open_to_append(link); }),
              std::errc::too_many_symbolic_link_levels);
}

TEST_F(FilesPosix, NewFileHasTheRightsThatTheUserWants) {
    const mode_t old = ::umask(027);
    { NewFile made(file); }
    ::umask(old);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
}

TEST_F(FilesPosix, NamesMayBeAnyBytes) {
    const fs::path odd = folder / "\xFF\xC3(\n";
    { NewFile made(odd); }
    EXPECT_TRUE(platform::stamp_of(odd));
    EXPECT_TRUE(fs::remove(odd));
}

/// What happens to a signal, and which wait.
struct Signals {
    Signals() {
        ::sigpending(&pending);
        ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    }
    sigset_t pending{};
    sigset_t blocked{};
};

TEST_F(FilesPosix, LimitOnSizesEndsAWriteAndNotTheProcess) {
    const FileSizeLimit limit(500);
    std::signal(SIGXFSZ, SIG_DFL);
    NewFile made(file);
    EXPECT_EQ(error_of([&] { made.write(content.data(), content.size()); }), std::errc::file_too_large);
    EXPECT_EQ(fs::file_size(file), 500U);
    EXPECT_EQ(error_of([&] { made.resize(501); }), std::errc::file_too_large);
    EXPECT_EQ(error_of([&] { made.write(content.data(), 1); }), std::errc::file_too_large);
    made.resize(499);
    made.write(content.data(), 1);
    EXPECT_EQ(fs::file_size(file), 500U);
    const Signals after;
    EXPECT_EQ(sigismember(&after.pending, SIGXFSZ), 0);
    EXPECT_EQ(sigismember(&after.blocked, SIGXFSZ), 0);
}

} // namespace
} // namespace test
