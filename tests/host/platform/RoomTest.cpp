#include "platform/Files.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace test {
namespace {

namespace fs = std::filesystem;
namespace platform = plate_mend::host::platform;

TEST(Room, SmallSizeHasRoomAndLeavesNothing) {
    const TempDir folder;
    for (const std::uint64_t bytes : {0U, 1U, 100'000U}) {
        EXPECT_EQ(platform::room_for(folder.path(), bytes), std::error_code()) << bytes;
    }
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(Room, ImpossibleSizeHasNoRoom) {
    const TempDir folder;
    for (const std::uint64_t bytes : {std::uint64_t{1} << 60U, ~std::uint64_t{0} >> 1U, ~std::uint64_t{0}}) {
        EXPECT_TRUE(platform::means_no_room(platform::room_for(folder.path(), bytes))) << bytes;
    }
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(Room, MissingFolderIsAnotherReason) {
    const TempDir folder;
    const std::error_code error = platform::room_for(folder / "missing", 1);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_FALSE(platform::means_no_room(error));
    EXPECT_FALSE(fs::exists(folder / "missing"));
}

TEST(Room, ErrorsOfAFullDiskAreKnown) {
    for (const std::errc error : {std::errc::no_space_on_device, std::errc::file_too_large}) {
        EXPECT_TRUE(platform::means_no_room(std::make_error_code(error)));
    }
    for (const std::errc error :
         {std::errc::io_error, std::errc::permission_denied, std::errc::file_exists}) {
        EXPECT_FALSE(platform::means_no_room(std::make_error_code(error)));
    }
    EXPECT_FALSE(platform::means_no_room(std::error_code()));
}

TEST(Room, NumbersOfOtherCategoriesMeanNothing) {
    const int full = std::make_error_code(std::errc::no_space_on_device).value();
    EXPECT_FALSE(platform::means_no_room({full, std::iostream_category()}));
}

} // namespace
} // namespace test
