#include "platform/Files.h"

#include "faults/Limits.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace {

int error_of_fallocate = 0; // 0 where the system does the work, else the error that it reports.

} // namespace

// In the place of the one of the run-time library.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" int fallocate(int file, int mode, off_t offset, off_t length) {
    if (error_of_fallocate != 0) {
        errno = error_of_fallocate;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fallocate, file, mode, offset, length));
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;

TEST(RoomPosix, LimitOnSizesIsAReason) {
    const TempDir folder;
    const FileSizeLimit limit(10'000);
    std::signal(SIGXFSZ, SIG_DFL); // Which would end the process.
    EXPECT_EQ(platform::room_for(folder.path(), 10'000), std::error_code());
    EXPECT_EQ(platform::room_for(folder.path(), 10'001), std::errc::file_too_large);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(RoomPosix, FullDiskIsAReason) {
    const TempDir folder;
    const auto result = result_on_small_file_system(folder.path(), [&] {
        const std::uint64_t all = small_file_system();
        write_file(folder / "file", Bytes(all / 2));
        const bool half = !platform::room_for(folder.path(), all / 2);
        const bool again = !platform::room_for(folder.path(), all / 2); // The first gave it back.
        const bool more = platform::room_for(folder.path(), all / 2 + 1) == std::errc::no_space_on_device;
        return half && again && more ? 0 : 1;
    });
    if (!result) {
        GTEST_SKIP() << "only root may mount a file system";
    }
    EXPECT_EQ(*result, 0);
}

TEST(RoomPosix, FileSystemThatCannotReserveIsAskedForItsFreeSpace) {
    const TempDir folder;
    const auto result = result_on_small_file_system(folder.path(), [&] {
        error_of_fallocate = EOPNOTSUPP;
        const std::uint64_t all = small_file_system();
        write_file(folder / "file", Bytes(all / 2));
        const bool half = !platform::room_for(folder.path(), all / 2);
        const bool more = platform::room_for(folder.path(), all / 2 + 1) == std::errc::no_space_on_device;
        return half && more ? 0 : 1;
    });
    if (!result) {
        GTEST_SKIP() << "only root may mount a file system";
    }
    EXPECT_EQ(*result, 0);
}

TEST(RoomPosix, QuotaIsAReason) {
    const TempDir folder;
    error_of_fallocate = EDQUOT;
    const std::error_code error = platform::room_for(folder.path(), 1);
    error_of_fallocate = 0;
    EXPECT_EQ(error.value(), EDQUOT);
    EXPECT_TRUE(platform::means_no_room(error));
}

TEST(RoomPosix, FolderThatIsReadOnlyIsAnotherReason) {
    const TempDir folder;
    fs::create_directory(folder / "closed");
    fs::permissions(folder / "closed", fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(folder.path(), fs::perms::all);
    const WithoutPrivileges without;
    EXPECT_EQ(platform::room_for(folder / "closed", 1), std::errc::permission_denied);
}

TEST(RoomPosix, QuotasAndBothCategoriesAreKnown) {
    for (const int error : {ENOSPC, EDQUOT, EFBIG}) {
        EXPECT_TRUE(platform::means_no_room({error, std::generic_category()}));
        EXPECT_TRUE(platform::means_no_room({error, std::system_category()}));
    }
}

} // namespace
} // namespace test
