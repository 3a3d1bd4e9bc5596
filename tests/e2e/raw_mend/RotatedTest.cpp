#include "RawMendFixture.h"

#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/RealFiles.h"

#include <functional>
#include <utility>

// The end of a photograph is at the beginning of the damaged file.

namespace test {
namespace {

constexpr std::size_t kCluster = 4096;

Bytes rotated(const Bytes& original, std::size_t at) {
    return joined(part(original, at, original.size()), part(original, 0, at));
}

class RawMendRotatedTest : public RawMendFixture {
  protected:
    std::int32_t repair_rotated(const Bytes& original, std::size_t at, const Bytes& intact) {
        write_file(damaged, rotated(original, at));
        write_file(sample, intact);
        std::filesystem::remove(output);
        return repair();
    }

    void expect_undone(const Bytes& original, std::size_t at, const Bytes& intact) {
        ASSERT_EQ(repair_rotated(original, at, intact), RAW_MEND_OK);
        EXPECT_TRUE(read_file(output) == original);
        EXPECT_EQ(report.way, std::uint32_t{RAW_MEND_WAY_OWN_TABLES});
        EXPECT_EQ(report.notes, std::uint32_t{RAW_MEND_ROTATION_UNDONE});
        EXPECT_EQ(report.proved_piece_count, report.piece_count);
        EXPECT_EQ(report.lost_pixel_count + report.doubtful_pixel_count, 0U);
    }

    [[nodiscard]] bool is_undone() const { return (report.notes & RAW_MEND_ROTATION_UNDONE) != 0; }
};

TEST_F(RawMendRotatedTest, CodedPhotographsComeBackFromAnyPlaceInTheirImage) {
    using Make = std::function<Bytes(unsigned number)>;
    const std::vector<std::pair<std::string, Make>> formats{
        {"Cr2", [](unsigned number) { return Cr2Photo({.number = number}).bytes; }},
        {"Cr3", [](unsigned number) { return Cr3Photo({.number = number, .pictures = true}).bytes; }},
        {"Dng", [](unsigned number) { return DngPhoto({.number = number}).bytes; }},
    };
    for (const auto& [name, make] : formats) {
        const Bytes original = make(1);
        for (const std::size_t share : {2U, 3U, 4U}) {
            SCOPED_TRACE(name + ", all but one part in " + std::to_string(share));
            expect_undone(original, original.size() - original.size() / share, make(2));
        }
    }
}

TEST_F(RawMendRotatedTest, RealPhotographsComeBack) {
    const std::vector<std::pair<std::string, std::string>> pairs{
        {"pairs/canon-30d/IMG_0848.CR2", "pairs/canon-30d/IMG_5952.CR2"},
        {"pairs/nikon-d5000-dng/sample1.dng", "pairs/nikon-d5000-dng/sample2.dng"},
        {"pairs/picamera-rig/image_0.dng", "pairs/picamera-rig/image_3.dng"},
    };
    for (const auto& [one, like] : pairs) {
        SCOPED_TRACE(one);
        REAL_FILE_OR_SKIP(original, one);
        REAL_FILE_OR_SKIP(intact, like);
        for (const std::size_t at : {std::size_t{1} << 20U, original.size() / 2 / kCluster * kCluster}) {
            expect_undone(original, at, intact);
        }
    }
}

TEST_F(RawMendRotatedTest, OffsetsAreThoseInTheFile) {
    const std::size_t size = photo.bytes.size();
    const std::size_t at = photo.tile_offsets[photo.tiles() / 2];
    ASSERT_EQ(repair_rotated(photo.bytes, at, other.bytes), RAW_MEND_OK);
    ASSERT_TRUE(is_undone());
    EXPECT_EQ(report.image_offset, size - at + photo.tile_offsets[0]);
}

TEST_F(RawMendRotatedTest, TextModeIsUndoneToo) {
    const std::size_t at = photo.tile_offsets[photo.tiles() / 2];
    const Bytes rest = in_text_mode(part(photo.bytes, at, photo.bytes.size()));
    const Bytes before = in_text_mode(part(photo.bytes, 0, photo.tile_offsets[0]));
    write_file(damaged, in_text_mode(rotated(photo.bytes, at)));
    ASSERT_EQ(repair(), RAW_MEND_OK);
    EXPECT_TRUE(read_file(output) == photo.bytes);
    EXPECT_EQ(report.notes, std::uint32_t{RAW_MEND_ROTATION_UNDONE | RAW_MEND_TEXT_MODE_UNDONE});
    EXPECT_EQ(report.image_offset, rest.size() + before.size());
}

/// What follows the joint must be proved: it may be the end of another photograph that is as long.
TEST_F(RawMendRotatedTest, TheEndOfAnotherPhotographIsNotTaken) {
    const Bytes one = photo.bytes;
    const std::size_t at = photo.tile_offsets[photo.tiles() / 2];
    Bytes end = part(other.bytes, std::min(at, other.bytes.size()), other.bytes.size());
    end.resize(one.size() - at);
    write_file(damaged, joined(end, part(one, 0, at)));
    ASSERT_EQ(repair(), RAW_MEND_OK);
    EXPECT_FALSE(is_undone());
    EXPECT_LT(report.proved_piece_count, report.piece_count);
}

TEST_F(RawMendRotatedTest, RowsOfAnotherPhotographAreNotTakenEvenInStep) {
    REAL_FILE_OR_SKIP(one, "pairs/picamera-rig/image_0.dng");
    REAL_FILE_OR_SKIP(like, "pairs/picamera-rig/image_3.dng");
    ASSERT_EQ(one.size(), like.size());
    write_file(sample, like);
    for (const std::size_t share : {2U, 3U, 5U}) {
        const std::size_t at = (one.size() - one.size() / share) / kCluster * kCluster;
        write_file(damaged, joined(part(like, at, like.size()), part(one, 0, at)));
        std::filesystem::remove(output);
        ASSERT_EQ(repair(), RAW_MEND_OK);
        EXPECT_FALSE(is_undone()) << share;
        EXPECT_GT(report.lost_pixel_count, 0U) << share;
    }
}

TEST_F(RawMendRotatedTest, DisplacedAndTruncatedPhotographsAreNone) {
    for (const std::size_t by : {1U, 1000U, 4096U}) {
        const Bytes all = joined(noise(by, 1), photo.bytes);
        for (const std::size_t cut : {std::size_t{1}, by}) {
            write_file(damaged, part(all, 0, all.size() - cut));
            std::filesystem::remove(output);
            if (repair() == RAW_MEND_OK) {
                EXPECT_TRUE(!is_undone() || read_file(output) == photo.bytes) << by << ", " << cut;
            }
        }
    }
}

} // namespace
} // namespace test
