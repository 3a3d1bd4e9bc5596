#include "RAF/RAF.h"

#include "api/Exceptions.h"
#include "support/LogRecord.h"
#include "support/RealFiles.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// What the model makes of a real file of a Fujifilm S5Pro. Its raw section is of the older kind, without a
// TIFF header.

namespace plate_mend {
namespace {

using test::Bytes;
using ::testing::ElementsAre;

constexpr std::uint32_t kHeader = 0xA0;
constexpr std::uint32_t kIfd1 = 0xA1A;

TEST(RafRealFile, FujifilmS5Pro) {
    REAL_FILE_OR_SKIP(photo, "raf/fuji-s5pro-stripped.raf");
    const test::TempDir folder;
    test::write_file(folder / "photo.raf", photo);
    test::reset_stand_ins();
    RAF raf(folder / "photo.raf");

    raf.find_tiff_offsets();
    ASSERT_THAT(raf.tiff_offsets, ElementsAre(kHeader)) << "the Exif's";
    raf.read_ifh({kHeader, kHeader}); // As if there were a second one.
    EXPECT_EQ(raf.big_endian(), 0);
    ASSERT_EQ(raf.ifd1_offset(), kIfd1);

    raf.read_thumb_tags(kIfd1);
    EXPECT_EQ(raf.thumb_ifd->entries["thumb_offset"]->value, 0xA90U);
    EXPECT_EQ(raf.thumb_ifd->entries["thumb_size"]->value, 9362U);
    EXPECT_THROW(raf.read_sample_strip_tags(), NotFoundException);
    EXPECT_THROW(raf.read_damaged_strip_tags(), NotFoundException);

    // No XMP packet and no DHT after a zero: the first DHT that the thumbnail leaves, and the DQT of
    // another preview after it.
    raf.clear_thumb();
    raf.deal_high_jpg_data();
    const auto line = [](const char* text) {
        return test::ErrorLine("src/RAF/RafTools.cpp", "RAF::deal_high_jpg_data", text);
    };
    EXPECT_THAT(test::logged_lines(),
                ElementsAre(line("sample file has no xpacket, continue next step"),
                            line("sample file has no special flag, continue next step")));
    const auto bytes = raf.mapped_file->bytes();
    const Bytes blanked(bytes.begin(), bytes.end());
    EXPECT_EQ(blanked, test::zeroed(test::zeroed(photo, 0xA90, 0xA90 + 9362), 0x2FBB, 0x59DE + 2));
}

} // namespace
} // namespace plate_mend
