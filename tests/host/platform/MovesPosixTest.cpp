#include "platform/Files.h"

#include "host/platform/Errors.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

// Links, and file systems that lack a way to move.

namespace {

// 0 where the system does the work, else the error that it reports.
int error_of_renameat2 = 0;
int error_of_linkat = 0;

int answer(int error) {
    errno = error;
    return -1;
}

} // namespace

// In the place of those of the run-time library.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" int renameat2(int from_folder, const char* from, int to_folder, const char* to,
                         unsigned flags) noexcept {
    return error_of_renameat2 != 0
               ? answer(error_of_renameat2)
               : static_cast<int>(::syscall(SYS_renameat2, from_folder, from, to_folder, to, flags));
}

extern "C" int linkat(int from_folder, const char* from, int to_folder, const char* to, int flags) noexcept {
    return error_of_linkat != 0
               ? answer(error_of_linkat)
               : static_cast<int>(::syscall(SYS_linkat, from_folder, from, to_folder, to, flags));
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;

class MovesPosix : public ::testing::Test {
  protected:
    MovesPosix() { write_file(from, {1}); }
    ~MovesPosix() override {
        error_of_renameat2 = 0;
        error_of_linkat = 0;
    }

    TempDir folder;
    fs::path from = folder / "from";
    fs::path to = folder / "to";
};

TEST_F(MovesPosix, LinkThatHasTheNewNameStays) {
    write_file(folder / "target", {2});
    fs::create_symlink(folder / "target", to);
    fs::create_symlink(folder / "missing", folder / "broken");
    EXPECT_EQ(error_of([&] { platform::move_new(from, to); }), std::errc::file_exists);
    EXPECT_EQ(error_of([&] { platform::move_new(from, folder / "broken"); }), std::errc::file_exists);
    EXPECT_TRUE(fs::is_symlink(to));
    EXPECT_TRUE(fs::is_symlink(folder / "broken"));
    EXPECT_EQ(read_file(folder / "target"), Bytes{2});
    EXPECT_EQ(read_file(from), Bytes{1});
}

TEST_F(MovesPosix, LinkIsReplacedAndNotWhatItLeadsTo) {
    write_file(folder / "target", {2});
    fs::create_directory(folder / "folder");
    for (const char* target : {"target", "folder", "missing"}) {
        write_file(from, {1});
        fs::remove(to);
        fs::create_symlink(folder / target, to);
        platform::move_over(from, to);
        EXPECT_FALSE(fs::is_symlink(to)) << target;
        EXPECT_EQ(read_file(to), Bytes{1}) << target;
    }
    EXPECT_EQ(read_file(folder / "target"), Bytes{2});
    EXPECT_TRUE(fs::is_empty(folder / "folder"));
    EXPECT_FALSE(fs::exists(folder / "missing"));
}

TEST_F(MovesPosix, LinkItselfIsMoved) {
    fs::create_symlink(from, folder / "link");
    for (const int error : {0, EINVAL}) {
        error_of_renameat2 = error;
        fs::remove(to);
        fs::remove(folder / "link");
        fs::create_symlink(from, folder / "link");
        platform::move_new(folder / "link", to);
        EXPECT_TRUE(fs::is_symlink(to)) << error;
        EXPECT_FALSE(fs::is_symlink(folder / "link")) << error;
    }
}

TEST_F(MovesPosix, WithoutSuchAMoveALinkAndARemovalAreEnough) {
    const auto index = platform::stamp_of(from)->index;
    for (const int error : {EINVAL, ENOSYS, EOPNOTSUPP}) {
        error_of_renameat2 = error;
        platform::move_new(from, to);
        EXPECT_FALSE(fs::exists(from)) << error;
        EXPECT_EQ(platform::stamp_of(to)->index, index) << error;
        EXPECT_EQ(platform::stamp_of(to)->links, 1U) << error;
        platform::move_new(to, from);
    }
}

TEST_F(MovesPosix, WithoutLinksACheckIsEnough) {
    error_of_renameat2 = EINVAL;
    for (const int error : {EPERM, EOPNOTSUPP, ENOSYS, EMLINK}) {
        error_of_linkat = error;
        platform::move_new(from, to);
        EXPECT_FALSE(fs::exists(from)) << error;
        EXPECT_EQ(read_file(to), Bytes{1}) << error;
        platform::move_new(to, from);
    }
}

TEST_F(MovesPosix, FoldersAreMovedInEachWay) {
    fs::create_directory(folder / "folder");
    error_of_renameat2 = EINVAL;
    platform::move_new(folder / "folder", to);
    EXPECT_TRUE(fs::is_directory(to));
    fs::create_directory(folder / "other");
    EXPECT_EQ(error_of([&] { platform::move_new(folder / "other", to); }), std::errc::file_exists);
    EXPECT_TRUE(fs::is_directory(folder / "other"));
}

TEST_F(MovesPosix, NewNameThatIsTakenStaysInEachWay) {
    write_file(folder / "file", {2});
    fs::create_directory(folder / "folder");
    fs::create_symlink(folder / "missing", folder / "broken");
    error_of_renameat2 = EINVAL;
    for (const int error : {0, EPERM}) {
        error_of_linkat = error;
        for (const char* name : {"file", "folder", "broken"}) {
            EXPECT_EQ(error_of([&] { platform::move_new(from, folder / name); }), std::errc::file_exists);
        }
    }
    EXPECT_EQ(read_file(from), Bytes{1});
    EXPECT_EQ(read_file(folder / "file"), Bytes{2});
    EXPECT_TRUE(fs::is_symlink(folder / "broken"));
}

TEST_F(MovesPosix, OtherErrorsOfAMoveAreThrown) {
    error_of_renameat2 = EXDEV;
    EXPECT_EQ(error_of([&] { platform::move_new(from, to); }), std::errc::cross_device_link);
    error_of_renameat2 = EINVAL;
    error_of_linkat = EACCES;
    EXPECT_EQ(error_of([&] { platform::move_new(from, to); }), std::errc::permission_denied);
    EXPECT_EQ(read_file(from), Bytes{1});
    EXPECT_FALSE(fs::exists(to));
}

} // namespace
} // namespace test
