#include "Damages.h"
#include "Repair.h"
#include "RowImages.h"
#include "Written.h"

#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

// Uncompressed photographs whose rows say little: flat ones, and rows of odd lengths.

namespace test {
namespace {

using raw_mend::Packing;
using raw_mend::Sample;

struct Kind {
    std::string name;
    Packing packing = Packing::kLittleWords;
    unsigned bits = 14;
    std::size_t width = 320;
    bool is_flat = true;
    LowBits low = LowBits::kNoise;
    std::size_t after = 0; ///< Bytes after the image.
};

/// A photograph with one strip, and the offset of its image.
struct StripFile {
    Bytes bytes;
    std::size_t image = 0;
    std::size_t size = 0;
};

constexpr std::size_t kHeight = 300;

StripFile make_photo(const Kind& kind, unsigned number) {
    Picture picture =
        kind.is_flat ? flat_picture(kind.width, kHeight, 8) : clouds(kind.width, kHeight, number);
    if (kind.is_flat) {
        for (std::uint16_t& sample : picture.samples) {
            sample = static_cast<std::uint16_t>(sample + 100 * number);
        }
    }
    const Bytes image = coded_rows(picture, geometry_of(picture, kind.packing, kind.bits), kind.low);
    TiffWriter tiff(ByteOrder::kLittle);
    tiff.write_header();
    const TiffDirectory ifd = tiff.write_directory(
        {tiff.longs(kNewSubfileType, {0}), tiff.longs(kImageWidth, {static_cast<std::uint32_t>(kind.width)}),
         tiff.longs(kImageLength, {kHeight}),
         tiff.shorts(kBitsPerSample, {static_cast<std::uint16_t>(kind.bits)}), tiff.shorts(kCompression, {1}),
         tiff.shorts(kPhotometric, {kCfa}), tiff.ascii(kMake, "Maker"), tiff.ascii(kModel, "Model"),
         tiff.longs(kStripOffsets, {kLater}), tiff.shorts(kSamplesPerPixel, {1}),
         tiff.longs(kRowsPerStrip, {kHeight}),
         tiff.longs(kStripByteCounts, {static_cast<std::uint32_t>(image.size())})});
    tiff.append(noise(70000 + 1000 * number, number));
    tiff.pad_to_sector();
    StripFile photo{{}, tiff.append(image), image.size()};
    tiff.set_value(ifd, kStripOffsets, static_cast<std::uint32_t>(photo.image));
    tiff.append(noise(kind.after, 9));
    photo.bytes = tiff.bytes();
    return photo;
}

class UnclearRows : public testing::TestWithParam<Kind> {};

TEST_P(UnclearRows, AreProvedOnlyWhereTheyAre) {
    const StripFile intact = make_photo(GetParam(), 1);
    const StripFile original = make_photo(GetParam(), 2);
    const Bytes image = part(original.bytes, original.image, original.image + original.size);
    const auto sample = Sample::read(intact.bytes);
    ASSERT_TRUE(sample);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes damaged = damage.make(original.bytes, original.image, intact.bytes);
        const auto repaired = raw_mend::repair(damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        const Bytes result = written(*repaired->file);
        const raw_mend::Extent found = Sample::read(result)->range();
        EXPECT_TRUE(part(result, found.offset, found.end()) == image)
            << repaired->image.pieces.front()->offset << ", " << static_cast<int>(repaired->image.way) << ", "
            << repaired->image.proved << testing::PrintToString(repaired->image.doubts);
        if (repaired->image.proved == 0) {
            EXPECT_FALSE(repaired->image.doubts.empty());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, UnclearRows,
    testing::Values(
        Kind{.name = "FlatWords"}, Kind{.name = "FlatWordsWithTail", .after = 3000},
        Kind{.name = "FlatPacked12", .packing = Packing::kPackedHighFirst, .bits = 12},
        Kind{.name = "FlatPacked14", .packing = Packing::kPackedHighFirst, .bits = 14},
        Kind{.name = "Uneven12",
             .packing = Packing::kPackedHighFirst,
             .bits = 12,
             .width = 323,
             .is_flat = false},
        Kind{.name = "Uneven14WithZeros",
             .packing = Packing::kPackedHighFirst,
             .bits = 14,
             .width = 322,
             .is_flat = false,
             .low = LowBits::kZero},
        Kind{.name = "FlatUneven14", .packing = Packing::kPackedHighFirst, .bits = 14, .width = 321},
        Kind{.name = "CloudsWithTail", .is_flat = false, .after = 3000}),
    [](const auto& test) { return test.param.name; });

} // namespace
} // namespace test
