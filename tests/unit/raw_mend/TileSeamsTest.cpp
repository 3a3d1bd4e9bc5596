#include "ways/TileSeams.h"
#include "container/Describe.h"
#include "ways/TileSides.h"

#include "support/DngPhoto.h"
#include "support/RealFiles.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

namespace test {
namespace {

using raw_mend::ByteRange;
using raw_mend::CodedRow;
using raw_mend::CodedSample;
using raw_mend::Image;

Image raw_of(const Bytes& file) {
    return raw_mend::describe(file).value().raw;
}

std::vector<ByteRange> ranges_of(const Image& image) {
    std::vector<ByteRange> ranges;
    for (const auto& piece : image.pieces) {
        ranges.push_back({piece.data.offset, piece.data.end()});
    }
    return ranges;
}

/// What became of a photograph's tiles.
struct Placed {
    std::size_t intact = 0;  ///< Tiles of which every byte survives.
    std::size_t certain = 0; ///< Of these.
    std::size_t right = 0;   ///< Certain or not.
    std::size_t wrong = 0;   ///< Though certain.
    CodedRow row;
};

Placed place(const Bytes& damaged, const Bytes& sample_file, const Bytes& original) {
    const Image sample_raw = raw_of(sample_file);
    const auto sample = CodedSample::read(sample_file, ranges_of(sample_raw)).value();
    const auto places = raw_mend::find_coded_streams(damaged, sample);
    Placed placed;
    placed.row = raw_mend::choose_row(damaged, places, sample);
    place_by_seams(placed.row, damaged, places, sample, sample_raw);

    std::map<Bytes, std::size_t> piece_of; // By the bytes of its stream.
    const Image raw = raw_of(original);
    const auto own = CodedSample::read(original, ranges_of(raw)).value();
    for (std::size_t nth = 0; nth < own.count(); ++nth) {
        const ByteRange& range = own.streams()[nth];
        piece_of[part(original, static_cast<std::size_t>(range.begin), static_cast<std::size_t>(range.end))] =
            own.pieces()[nth];
    }
    for (std::size_t piece = 0; piece < placed.row.pieces.size(); ++piece) {
        const auto& found = placed.row.pieces[piece];
        if (!found || !places[found->place].proved) {
            continue;
        }
        const ByteRange range = places[found->place].range();
        const auto known = piece_of.find(
            part(damaged, static_cast<std::size_t>(range.begin), static_cast<std::size_t>(range.end)));
        const bool is_right = known != piece_of.end() && known->second == piece;
        placed.intact += 1;
        placed.certain += found->certain ? 1U : 0U;
        placed.right += is_right ? 1U : 0U;
        placed.wrong += found->certain && !is_right ? 1U : 0U;
    }
    return placed;
}

Bytes without(const Bytes& file, std::size_t from, std::size_t count) {
    return joined(part(file, 0, from), part(file, from + count, file.size()));
}

DngPhoto photo_of(Mood mood, unsigned number) {
    return DngPhoto({.number = number_of(mood, number), .width = 1000, .height = 700});
}

TEST(TileSeams, FindWhereTheRestBelongsIfTheFirstTilesAreLost) {
    const DngPhoto sample = photo_of(Mood::kNoisy, 1);
    const DngPhoto photo = photo_of(Mood::kNoisy, 2);
    for (const std::size_t lost : {1U, 7U, 30U, 100U}) {
        Bytes damaged = part(photo.bytes, photo.tile_offsets[lost] - 300, photo.bytes.size());
        damaged.resize(damaged.size() + 1000); // It does not end as the sample does.
        const Placed placed = place(damaged, sample.bytes, photo.bytes);
        EXPECT_EQ(placed.intact, photo.tiles() - lost);
        EXPECT_EQ(placed.right, placed.intact) << lost;
        // That many may be missing from both ends if a whole line of tiles is.
        EXPECT_EQ(placed.certain, lost < 16 ? placed.intact : 0U) << lost;
        EXPECT_EQ(placed.row.doubts.empty(), lost < 16);
    }
}

TEST(TileSeams, FindWhereTheRestBelongsAfterLosses) {
    const DngPhoto sample = photo_of(Mood::kNoisy, 1);
    const DngPhoto photo = photo_of(Mood::kNoisy, 2);
    Bytes damaged = without(photo.bytes, photo.tile_offsets[120] + 50, 9000);
    damaged = without(damaged, photo.tile_offsets[40] + 50, 20000);
    const Placed placed = place(damaged, sample.bytes, photo.bytes);
    EXPECT_LT(placed.intact, photo.tiles() - 3);
    EXPECT_EQ(placed.right, placed.intact);
    EXPECT_EQ(placed.certain, placed.intact);
}

TEST(TileSeams, AreNoProofInAFlatPhotograph) {
    DngPhoto::Options options{.width = 1000, .height = 700};
    options.number = number_of(Mood::kFlat, 1);
    const DngPhoto sample(options);
    for (const unsigned number : {2U, 3U, 4U}) {
        options.number = number_of(Mood::kFlat, number);
        const DngPhoto photo(options);
        for (const std::size_t lost : {3U, 17U, 60U}) {
            Bytes damaged = part(photo.bytes, photo.tile_offsets[lost] - 300, photo.bytes.size());
            damaged.resize(damaged.size() + 1000);
            EXPECT_EQ(place(damaged, sample.bytes, photo.bytes).wrong, 0U) << number << ", " << lost;
        }
    }
}

TEST(TileSeams, LeaveStreamsWhoseNeighboursAreLostUncertain) {
    const DngPhoto sample = photo_of(Mood::kPlain, 1);
    const DngPhoto photo = photo_of(Mood::kPlain, 2);
    // The last two tiles of the file alone, in a file that ends in another way.
    Bytes damaged = part(photo.bytes, photo.tile_offsets[photo.tiles() - 2], photo.bytes.size());
    damaged.resize(damaged.size() + 1000);
    const Placed placed = place(damaged, sample.bytes, photo.bytes);
    EXPECT_EQ(placed.intact, 2U);
    EXPECT_EQ(placed.certain, 0U);
    EXPECT_FALSE(placed.row.doubts.empty());
}

TEST(TileSeams, AreSmallWhereSamplesGoOn) {
    const raw_mend::TileSide rising{.outer = {10, 20, 30, 40}, .inner = {5, 15, 25, 35}};
    const raw_mend::TileSide next{.outer = {14, 26, 34, 46}, .inner = {19, 31, 39, 51}};
    const raw_mend::TileSide stranger{.outer = {90, 20, 130, 700}, .inner = {95, 25, 135, 705}};
    EXPECT_LT(find_seam(rising, next), 0.2);
    EXPECT_GT(find_seam(rising, stranger), 2);
}

TEST(TileSeams, OfARealPhotographAreNeverMistaken) {
    REAL_FILE_OR_SKIP(one, "pairs/nikon-d5000-dng/sample1.dng");
    REAL_FILE_OR_SKIP(other, "pairs/nikon-d5000-dng/sample2.dng");
    std::mt19937 random(5);
    std::size_t intact = 0;
    std::size_t certain = 0;
    for (const auto& [file, sample] : {std::pair(&one, &other), std::pair(&other, &one)}) {
        for (int trial = 0; trial < 6; ++trial) {
            Bytes damaged = *file;
            const std::size_t losses = 1 + random() % 4;
            for (std::size_t nth = 0; nth < losses; ++nth) {
                const std::size_t count = 4096 * (1 + random() % 300);
                damaged = without(damaged, random() % (damaged.size() - count), count);
            }
            const Placed placed = place(damaged, *sample, *file);
            EXPECT_EQ(placed.wrong, 0U) << trial;
            intact += placed.intact;
            certain += placed.certain;
        }
    }
    EXPECT_GE(certain * 100, intact * 85) << certain << " of " << intact;
}

} // namespace
} // namespace test
