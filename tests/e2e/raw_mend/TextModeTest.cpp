#include "RawMendFixture.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/RealFiles.h"
#include "support/Sr2Photo.h"

#include <functional>
#include <utility>

// A transfer in text mode puts CR before each LF of a photograph.

namespace test {
namespace {

class RawMendTextModeTest : public RawMendFixture {
  protected:
    /// Repairs a photograph after such a transfer.
    std::int32_t repair_transferred(const Bytes& original, const Bytes& intact) {
        write_file(damaged, in_text_mode(original));
        write_file(sample, intact);
        return repair();
    }

    void expect_undone(const Bytes& original, const Bytes& intact) {
        ASSERT_EQ(repair_transferred(original, intact), RAW_MEND_OK);
        EXPECT_TRUE(read_file(output) == original);
        EXPECT_EQ(report.way, std::uint32_t{RAW_MEND_WAY_OWN_TABLES});
        EXPECT_EQ(report.notes & ~std::uint32_t{RAW_MEND_PLACES_GUESSED},
                  std::uint32_t{RAW_MEND_TEXT_MODE_UNDONE});
    }
};

TEST_F(RawMendTextModeTest, IsUndoneInPhotographsOfAllFormats) {
    using Make = std::function<Bytes(unsigned number)>;
    const std::vector<std::pair<std::string, Make>> formats{
        {"Arw", [](unsigned number) { return ArwPhoto({.number = number}).bytes; }},
        {"Cr2", [](unsigned number) { return Cr2Photo({.number = number}).bytes; }},
        {"Cr3", [](unsigned number) { return Cr3Photo({.number = number, .pictures = true}).bytes; }},
        {"Dng", [](unsigned number) { return DngPhoto({.number = number}).bytes; }},
        {"Nef", [](unsigned number) { return NefPhoto({.number = number}).bytes; }},
        {"Orf", [](unsigned number) { return make_orf({.scene = number}).bytes; }},
        {"Raf", [](unsigned number) { return RafPhoto({.number = number}).bytes; }},
        {"Sr2", [](unsigned number) { return make_sr2({.scene = number}).bytes; }},
    };
    for (const auto& [name, make] : formats) {
        SCOPED_TRACE(name);
        expect_undone(make(1), make(2));
        std::filesystem::remove(output);
    }
}

TEST_F(RawMendTextModeTest, IsUndoneInRealPhotographs) {
    const std::vector<std::pair<std::string, std::string>> pairs{
        {"pairs/canon-30d/IMG_0848.CR2", "pairs/canon-30d/IMG_5952.CR2"},
        {"pairs/nikon-d5000-dng/sample1.dng", "pairs/nikon-d5000-dng/sample2.dng"},
        {"pairs/picamera-rig/image_0.dng", "pairs/picamera-rig/image_3.dng"},
    };
    for (const auto& [one, like] : pairs) {
        SCOPED_TRACE(one);
        REAL_FILE_OR_SKIP(original, one);
        REAL_FILE_OR_SKIP(intact, like);
        expect_undone(original, intact);
        std::filesystem::remove(output);
    }
}

TEST_F(RawMendTextModeTest, OffsetsAreThoseInTheFile) {
    ASSERT_EQ(repair_transferred(photo.bytes, other.bytes), RAW_MEND_OK);
    const Bytes before = part(photo.bytes, 0, photo.tile_offsets[0]);
    EXPECT_EQ(report.image_offset, in_text_mode(before).size());
    EXPECT_GT(report.image_offset, photo.tile_offsets[0]);
}

TEST_F(RawMendTextModeTest, IsUndoneWhereTheHeadIsLostToo) {
    ASSERT_EQ(repair_transferred(without_head(photo), other.bytes), RAW_MEND_OK);
    EXPECT_EQ(report.way, std::uint32_t{RAW_MEND_WAY_CODED_HEADS});
    EXPECT_EQ(report.proved_piece_count, report.piece_count);
    EXPECT_NE(report.notes & RAW_MEND_TEXT_MODE_UNDONE, 0U);
}

TEST_F(RawMendTextModeTest, IsLeftWhereOneLfIsAlone) {
    write_file(damaged, joined({0x00, 0x0A}, in_text_mode(photo.bytes)));
    if (repair() == RAW_MEND_OK) {
        EXPECT_EQ(report.notes & RAW_MEND_TEXT_MODE_UNDONE, 0U);
    }
}

TEST_F(RawMendTextModeTest, IsNotSeenInAFewBytesOrWithoutAnyLf) {
    for (const Bytes& file :
         {Bytes{0x0A}, Bytes{0x0D, 0x0A}, Bytes{0x0D, 0x0A, 0x0D, 0x0A}, Bytes(5000, 0x0D)}) {
        write_file(damaged, file);
        EXPECT_EQ(repair(), RAW_MEND_NOT_FOUND);
        expect_nothing();
    }
}

TEST_F(RawMendTextModeTest, MayLeaveNothing) {
    write_file(damaged, in_text_mode(Bytes(5000, 0x0A)));
    EXPECT_EQ(repair(), RAW_MEND_NOT_FOUND);
    expect_nothing();
}

} // namespace
} // namespace test
