#include "platform/Files.h"

#include "host/platform/Errors.h"
#include "platform/win32/Errors.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <windows.h>

// Error numbers, shares, links and devices.

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;
using platform::NewFile;
using platform::SourceFile;

/// Creates a link, if possible: Wine has none, and a user may not be allowed to.
bool make_link(const fs::path& link, const fs::path& target) {
    ::CreateSymbolicLinkW(link.c_str(), target.c_str(), 0);
    const DWORD attributes = ::GetFileAttributesW(link.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

TEST(FilesWin32, ErrorsThatCallersLookForAreTheStandardOnes) {
    for (const unsigned long error : {ERROR_FILE_EXISTS, ERROR_ALREADY_EXISTS}) {
        EXPECT_EQ(platform::code_from(error), std::errc::file_exists) << error;
    }
    for (const unsigned long error : {ERROR_DISK_FULL, ERROR_HANDLE_DISK_FULL}) {
        EXPECT_EQ(platform::code_from(error), std::errc::no_space_on_device) << error;
    }
    for (const unsigned long error :
         {ERROR_CRC, ERROR_SEEK, ERROR_SECTOR_NOT_FOUND, ERROR_READ_FAULT, ERROR_IO_DEVICE}) {
        EXPECT_EQ(platform::code_from(error), std::errc::io_error) << error;
    }
    EXPECT_EQ(platform::code_from(ERROR_NOT_READY).value(), ERROR_NOT_READY);
}

TEST(FilesWin32, ErrorsOfAFullDiskAreKnown) {
    for (const long error : {ERROR_DISK_FULL, ERROR_HANDLE_DISK_FULL, ERROR_FILE_TOO_LARGE, 1295L}) {
        EXPECT_TRUE(platform::means_no_room({static_cast<int>(error), std::system_category()})) << error;
    }
    // ENOSPC and EFBIG are other errors as numbers of Windows.
    EXPECT_FALSE(platform::means_no_room({ENOSPC, std::system_category()}));
    EXPECT_FALSE(platform::means_no_room({EFBIG, std::system_category()}));
    EXPECT_FALSE(platform::means_no_room({ERROR_DISK_FULL, std::generic_category()}));
}

TEST(FilesWin32, NewFileHasOneWriter) {
    const TempDir folder;
    const NewFile made(folder / "file");
    EXPECT_TRUE(error_of([&] { (void)platform::open_to_append(folder / "file"); }));
}

TEST(FilesWin32, FileOfALockStaysWhileItIsHeld) {
    const TempDir folder;
    const fs::path file = folder / "lock";
    {
        const auto held = platform::Lock::take(file);
        ASSERT_TRUE(held);
        EXPECT_EQ(::DeleteFileW(file.c_str()), FALSE);
        EXPECT_TRUE(error_of([&] { platform::move_new(file, folder / "other"); }));
    }
    EXPECT_NE(::DeleteFileW(file.c_str()), FALSE);
}

TEST(FilesWin32, DevicesAreNotFiles) {
    EXPECT_TRUE(error_of([] { SourceFile{"NUL"}; }));
    EXPECT_TRUE(error_of([] { (void)platform::open_to_append("NUL"); }));
    const auto stamp = platform::stamp_of("NUL");
    EXPECT_FALSE(stamp && stamp->regular);
}

TEST(FilesWin32, LinkIsReplacedAndNotWhatItLeadsTo) {
    const TempDir folder;
    write_file(folder / "target", {2});
    write_file(folder / "from", {1});
    if (!make_link(folder / "to", folder / "target")) {
        GTEST_SKIP() << "no links here";
    }
    EXPECT_EQ(error_of([&] { platform::move_new(folder / "from", folder / "to"); }), std::errc::file_exists);
    platform::move_over(folder / "from", folder / "to");
    EXPECT_EQ(read_file(folder / "to"), Bytes{1});
    EXPECT_EQ(read_file(folder / "target"), Bytes{2});
}

TEST(FilesWin32, NothingIsCreatedOrWrittenThroughALink) {
    const TempDir folder;
    write_file(folder / "target", {2});
    if (!make_link(folder / "broken", folder / "missing") || !make_link(folder / "link", folder / "target")) {
        GTEST_SKIP() << "no links here";
    }
    EXPECT_EQ(error_of([&] { NewFile{folder / "broken"}; }), std::errc::file_exists);
    EXPECT_TRUE(error_of([&] { (void)platform::open_to_append(folder / "link"); }));
    EXPECT_TRUE(error_of([&] { (void)platform::Lock::take(folder / "broken"); }));
    EXPECT_FALSE(fs::exists(folder / "missing"));
    EXPECT_TRUE(platform::is_taken(folder / "broken"));
    EXPECT_FALSE(platform::stamp_of(folder / "broken"));
}

} // namespace
} // namespace test
