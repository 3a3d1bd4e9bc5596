#include "Repair.h"
#include "RowImages.h"
#include "Written.h"

#include "mend/RowReader.h"
#include "support/HeadlessPhoto.h"
#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

// Clusters lost, put in, overwritten or exchanged among the rows of an image: what survives comes back at its
// place, and all that does not is counted.

namespace test {
namespace {

using raw_mend::Area;
using raw_mend::Packing;
using raw_mend::Sample;

constexpr std::size_t kHeight = 640;

struct Kind {
    std::string name;
    std::function<Bytes(unsigned number)> make; ///< Another number is another photograph.
};

/// A photograph of clouds, with one strip and bytes after it.
Bytes make_strip(Packing packing, unsigned bits, ByteOrder order, unsigned number) {
    const Picture picture = clouds(1024, kHeight, number);
    const Bytes image = coded_rows(picture, geometry_of(picture, packing, bits));
    TiffWriter tiff(order);
    tiff.write_header();
    const TiffDirectory ifd = tiff.write_directory(
        {tiff.longs(kNewSubfileType, {0}), tiff.longs(kImageWidth, {1024}),
         tiff.longs(kImageLength, {kHeight}), tiff.shorts(kBitsPerSample, {static_cast<std::uint16_t>(bits)}),
         tiff.shorts(kCompression, {1}), tiff.shorts(kPhotometric, {kCfa}), tiff.ascii(kMake, "Maker"),
         tiff.ascii(kModel, "Model"), tiff.longs(kStripOffsets, {kLater}), tiff.shorts(kSamplesPerPixel, {1}),
         tiff.longs(kRowsPerStrip, {kHeight}),
         tiff.longs(kStripByteCounts, {static_cast<std::uint32_t>(image.size())})});
    tiff.append(noise(9000, 17));
    tiff.set_value(ifd, kStripOffsets, static_cast<std::uint32_t>(tiff.append(image)));
    tiff.append(noise(3000, number));
    return tiff.bytes();
}

Bytes make_cells(unsigned number) {
    return HeadlessPhoto(
               {.kind = HeadlessPhoto::Kind::kSonyCells, .number = number, .width = 1024, .height = kHeight})
        .bytes;
}

class RowMend : public testing::TestWithParam<Kind> {
  protected:
    void SetUp() override {
        intact = GetParam().make(1);
        original = GetParam().make(2);
        sample = Sample::read(intact);
        ASSERT_TRUE(sample && sample->rows);
        image = Sample::read(original)->range();
    }

    /// The first sector of a cluster somewhere in the image, but not in its first or last rows.
    std::size_t place(std::size_t size) {
        const std::size_t margin = image.length / 16;
        return (image.offset + margin + random() % (image.length - 2 * margin - size)) / 512 * 512;
    }

    /// Repairs, and checks that all pixels are the original's but for those that are reported.
    raw_mend::FoundImage repair(const Bytes& damaged) const {
        auto repaired = raw_mend::repair(damaged, *sample);
        EXPECT_TRUE(repaired && repaired->file);
        if (!repaired || !repaired->file) {
            return {};
        }
        const Bytes result = written(*repaired->file);
        const auto read = Sample::read(result);
        EXPECT_TRUE(read && read->range().length == image.length);
        if (read && read->range().length == image.length) {
            EXPECT_EQ(count_wrong(result, read->range().offset, repaired->image), 0U);
        }
        return std::move(repaired->image);
    }

    static bool covers(const std::vector<Area>& areas, std::size_t x, std::size_t y) {
        return std::ranges::any_of(areas, [&](const Area& area) {
            return x >= area.left && x < area.left + area.width && y >= area.top &&
                   y < area.top + area.height;
        });
    }

    static std::size_t count_pixels(const std::vector<Area>& areas) {
        std::size_t count = 0;
        for (const Area& area : areas) {
            count += std::size_t{area.width} * area.height;
        }
        return count;
    }

    [[nodiscard]] std::size_t count_wrong(const Bytes& result, std::uint64_t offset,
                                          const raw_mend::FoundImage& found) const {
        const raw_mend::RowGeometry& geometry = sample->rows->geometry;
        raw_mend::RowReader reader(result, geometry, static_cast<std::int64_t>(offset));
        raw_mend::RowReader expected(original, geometry, static_cast<std::int64_t>(image.offset));
        const std::size_t pixels =
            1024 / reader.width(); // Of which a sample is read: one, or those of half a cell.
        std::vector<float> row;
        std::vector<float> other;
        std::size_t wrong = 0;
        for (std::size_t y = 0; y < kHeight; ++y) {
            reader.read(y, row);
            expected.read(y, other);
            for (std::size_t i = 0; i < row.size(); ++i) {
                const bool differs = row[i] != other[i];
                wrong +=
                    differs && !covers(found.lost, i * pixels, y) && !covers(found.doubtful, i * pixels, y)
                        ? 1U
                        : 0U;
            }
        }
        return wrong;
    }

    /// The pixels that so many bytes are at most, with those of groups that are lost in part.
    [[nodiscard]] std::size_t pixels_in(std::size_t bytes) const {
        return (bytes + 64) * 1024 / sample->rows->geometry.row_bytes + 64;
    }

    Bytes intact;
    Bytes original;
    std::optional<Sample> sample;
    raw_mend::Extent image;
    std::mt19937 random{5};
};

INSTANTIATE_TEST_SUITE_P(
    All, RowMend,
    testing::Values(
        Kind{"Words",
             [](unsigned n) { return make_strip(Packing::kLittleWords, 14, ByteOrder::kLittle, n); }},
        Kind{"BigWords", [](unsigned n) { return make_strip(Packing::kBigWords, 12, ByteOrder::kBig, n); }},
        Kind{"Bytes", [](unsigned n) { return make_strip(Packing::kBytes, 8, ByteOrder::kLittle, n); }},
        Kind{"Packed10",
             [](unsigned n) { return make_strip(Packing::kPackedHighFirst, 10, ByteOrder::kLittle, n); }},
        Kind{"Packed12",
             [](unsigned n) { return make_strip(Packing::kPackedHighFirst, 12, ByteOrder::kBig, n); }},
        Kind{"Packed14",
             [](unsigned n) { return make_strip(Packing::kPackedHighFirst, 14, ByteOrder::kLittle, n); }},
        Kind{"Cells", make_cells}),
    [](const auto& test) { return test.param.name; });

constexpr std::size_t kSizes[] = {4096, 32768};

TEST_P(RowMend, LeavesIntactImagesAlone) {
    for (const Bytes& bytes : {original, intact}) {
        const auto repaired = raw_mend::repair(bytes, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        EXPECT_TRUE(written(*repaired->file) == bytes);
        EXPECT_TRUE(repaired->image.mended.empty());
        EXPECT_TRUE(repaired->image.lost.empty());
        EXPECT_TRUE(repaired->image.doubtful.empty());
    }
}

TEST_P(RowMend, ClosesGaps) {
    for (const std::size_t size : kSizes) {
        for (unsigned trial = 0; trial < 4; ++trial) {
            const std::size_t at = place(size);
            SCOPED_TRACE(std::to_string(size) + " at " + std::to_string(at));
            const auto found =
                repair(joined(part(original, 0, at), part(original, at + size, original.size())));
            EXPECT_GE(count_pixels(found.lost), size * 1024 / sample->rows->geometry.row_bytes);
            EXPECT_LE(count_pixels(found.lost), pixels_in(size));
            EXPECT_LT(found.proved, found.pieces.size());
        }
    }
}

/// What is between the gaps is shorter than the windows in which the phase of rows is searched for.
TEST_P(RowMend, ClosesSeveralGaps) {
    constexpr std::size_t kRowsApart = 48;
    constexpr std::size_t kSector = 512;
    const std::size_t row = sample->rows->geometry.row_bytes;
    if (2 * kSector % row == 0 || 3 * kSector % row == 0) {
        GTEST_SKIP() << "some gaps are a whole row together";
    }
    const std::size_t apart = kRowsApart * row / kSector * kSector;
    for (unsigned trial = 0; trial < 4; ++trial) {
        const std::size_t at = place(3 * apart);
        SCOPED_TRACE(at);
        Bytes damaged = part(original, 0, at);
        for (const std::size_t begin :
             {at + kSector, at + 2 * kSector + apart, at + 3 * kSector + 2 * apart}) {
            damaged = joined(damaged, part(original, begin, begin + apart));
        }
        damaged = joined(damaged, part(original, at + 3 * (kSector + apart), original.size()));
        auto found = repair(damaged);
        EXPECT_LE(count_pixels(found.lost), 3 * pixels_in(kSector));
        // What is doubtful is right too.
        found.doubtful.clear();
        const auto repaired = raw_mend::repair(damaged, *sample);
        const Bytes result = written(*repaired->file);
        EXPECT_LE(count_wrong(result, Sample::read(result)->range().offset, found), pixels_in(kSector));
    }
}

/// How many rows are missing between two gaps is not known: what is there must not be promised at the wrong
/// place.
TEST_P(RowMend, PromisesNothingOfAPartBetweenGapsThatIsMisplaced) {
    constexpr std::size_t kCluster = 4096;
    Bytes damaged = original;
    for (const std::size_t quarter : {3U, 2U, 1U}) {
        const std::size_t at = (image.offset + image.length * quarter / 4) / 512 * 512;
        damaged = joined(part(damaged, 0, at), part(damaged, at + kCluster, damaged.size()));
    }
    const auto found = repair(damaged);
    EXPECT_LT(found.proved, found.pieces.size());
}

TEST_P(RowMend, TakesOutWhatWasPutIn) {
    for (const std::size_t size : kSizes) {
        for (unsigned trial = 0; trial < 4; ++trial) {
            const std::size_t at = place(size);
            SCOPED_TRACE(std::to_string(size) + " at " + std::to_string(at));
            const auto found = repair(joined(joined(part(original, 0, at), noise(size, trial)),
                                             part(original, at, original.size())));
            EXPECT_EQ(count_pixels(found.lost), 0U);
        }
    }
}

TEST_P(RowMend, CountsWhatWasOverwritten) {
    for (const std::size_t size : kSizes) {
        for (const bool is_noise : {false, true}) {
            const std::size_t at = place(size);
            SCOPED_TRACE(std::to_string(size) + " at " + std::to_string(at));
            const auto found = repair(with(original, at, is_noise ? noise(size, 3) : Bytes(size)));
            EXPECT_GE(count_pixels(found.lost), size * 1024 / sample->rows->geometry.row_bytes);
            EXPECT_LE(count_pixels(found.lost), pixels_in(size));
            EXPECT_LT(found.proved, found.pieces.size());
        }
    }
}

TEST_P(RowMend, ExchangesClusters) {
    if (sample->has_cells) {
        GTEST_SKIP() << "whole cells prove themselves, wherever they are";
    }
    for (const std::size_t size : kSizes) {
        const std::size_t half = image.length / 2;
        const std::size_t first = (image.offset + half / 2) / 512 * 512;
        const std::size_t second = first + half / 512 * 512;
        SCOPED_TRACE(std::to_string(size) + " at " + std::to_string(first));
        Bytes damaged = with(original, first, part(original, second, second + size));
        damaged = with(damaged, second, part(original, first, first + size));
        const auto found = repair(damaged);
        EXPECT_EQ(count_pixels(found.lost), 0U);
    }
}

TEST_P(RowMend, KeepsWhatIsBeforeACut) {
    const std::size_t at = (image.offset + image.length / 2) / 512 * 512;
    const auto found = repair(part(original, 0, at));
    const std::size_t all = 1024 * kHeight;
    EXPECT_LE(count_pixels(found.lost), all / 2 + 2048);
    EXPECT_LT(found.proved, found.pieces.size());
}

/// The last rows are in step with the end of the file, or with nothing that is known.
TEST_P(RowMend, RowsAfterALargeLossAreAtTheirPlaceOrDoubtful) {
    const std::size_t at = (image.offset + image.length / 3) / 512 * 512;
    const std::size_t row = sample->rows->geometry.row_bytes;
    std::size_t lost = image.length * 2 / 5 / 512 * 512;
    lost += lost % row == 0 ? 512 : 0;
    const Bytes damaged = joined(part(original, 0, at), part(original, at + lost, original.size()));
    const auto found = repair(damaged);
    EXPECT_LE(count_pixels(found.lost), pixels_in(lost));
    EXPECT_LE(count_pixels(found.doubtful), 200U * 1024); // In small pictures, many beside the break.
    repair(joined(damaged, noise(5000, 3)));
}

/// Without tables, the sample has the image's place.
TEST_P(RowMend, ClosesGapsWithoutTables) {
    constexpr std::size_t kHead = 4096;
    const std::size_t at = place(4096);
    const auto found =
        repair(joined(part(zeroed(original, 0, kHead), 0, at), part(original, at + 4096, original.size())));
    EXPECT_LE(count_pixels(found.lost), pixels_in(4096));
}

} // namespace
} // namespace test
