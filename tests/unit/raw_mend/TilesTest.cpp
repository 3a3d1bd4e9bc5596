#include "Damages.h"
#include "Repair.h"
#include "RowImages.h"
#include "Written.h"

#include "coding/ZlibStream.h"

#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <vector>

// DNG photographs in tiles: uncompressed, and deflated.

namespace test {
namespace {

using raw_mend::Sample;

constexpr std::uint32_t kTile = 128; ///< Width and height, in pixels.
constexpr std::uint32_t kAcross = 3;
constexpr std::uint32_t kDown = 2;
constexpr std::uint16_t kBits = 14;

struct TiledFile {
    Bytes bytes;
    std::size_t image = 0;
    std::vector<Bytes> tiles;
};

/// What a DNG says about its deflated tiles.
struct Deflation {
    std::string name;
    std::uint16_t compression = 8;
    std::uint16_t predictor = 1;
};

/// Tile rows as a predictor leaves them: 16-bit samples less the one so many to the left, or the bytes of
/// floating-point samples, high ones first, each less the byte to its left.
Bytes predicted(Bytes tile, std::uint16_t predictor) {
    constexpr std::size_t kRow = std::size_t{2} * kTile;
    for (std::size_t row = 0; row < tile.size(); row += kRow) {
        const Bytes plain = part(tile, row, row + kRow);
        for (std::size_t i = kRow; i-- > 0;) {
            if (predictor == 3) {
                const auto byte_at = [&](std::size_t at) { return plain[2 * (at % kTile) + 1 - at / kTile]; };
                const unsigned before = i == 0 ? 0U : byte_at(i - 1);
                tile[row + i] = static_cast<unsigned char>(byte_at(i) - before);
            }
        }
        const std::size_t step = predictor == 2 ? 2 : predictor == 34892 ? 4 : kRow;
        for (std::size_t i = step; i < kRow; i += 2) {
            const auto value_at = [&](std::size_t at) {
                return unsigned{plain[at]} | unsigned{plain[at + 1]} << 8U;
            };
            const unsigned difference = value_at(i) - value_at(i - step);
            tile[row + i] = static_cast<unsigned char>(difference);
            tile[row + i + 1] = static_cast<unsigned char>(difference >> 8U);
        }
    }
    return tile;
}

Bytes deflated(const Bytes& data) {
    const auto length = static_cast<uLong>(data.size());
    uLongf size = compressBound(length);
    Bytes stream(size);
    EXPECT_EQ(compress2(stream.data(), &size, data.data(), length, 6), Z_OK);
    stream.resize(size);
    return stream;
}

Bytes inflated(const Bytes& stream) {
    Bytes data(std::size_t{2} * kTile * kTile);
    auto size = static_cast<uLongf>(data.size());
    EXPECT_EQ(uncompress(data.data(), &size, stream.data(), static_cast<uLong>(stream.size())), Z_OK);
    data.resize(size);
    return data;
}

Bytes tile_of(const Picture& picture, std::uint32_t column, std::uint32_t row) {
    Picture tile{kTile, kTile, {}};
    for (std::size_t y = 0; y < kTile; ++y) {
        for (std::size_t x = 0; x < kTile; ++x) {
            tile.samples.push_back(picture.samples[(std::size_t{row} * kTile + y) * picture.width +
                                                   std::size_t{column} * kTile + x]);
        }
    }
    return coded_rows(tile, geometry_of(tile, raw_mend::Packing::kLittleWords, kBits));
}

TiledFile make_photo(const Deflation& deflation, unsigned number) {
    const Picture picture = clouds(std::size_t{kTile} * kAcross, std::size_t{kTile} * kDown, number);
    TiledFile photo;
    std::vector<std::uint32_t> lengths;
    for (std::uint32_t row = 0; row < kDown; ++row) {
        for (std::uint32_t column = 0; column < kAcross; ++column) {
            const Bytes tile = tile_of(picture, column, row);
            photo.tiles.push_back(
                deflation.compression == 1 ? tile : deflated(predicted(tile, deflation.predictor)));
            lengths.push_back(static_cast<std::uint32_t>(photo.tiles.back().size()));
        }
    }
    TiffWriter tiff(ByteOrder::kLittle);
    tiff.write_header();
    const TiffDirectory ifd = tiff.write_directory(
        {tiff.longs(kNewSubfileType, {0}), tiff.longs(kImageWidth, {kTile * kAcross}),
         tiff.longs(kImageLength, {kTile * kDown}), tiff.shorts(kBitsPerSample, {kBits}),
         tiff.shorts(kCompression, {deflation.compression}), tiff.shorts(kPhotometric, {kCfa}),
         tiff.ascii(kMake, "Maker"), tiff.ascii(kModel, "Model"), tiff.shorts(kSamplesPerPixel, {1}),
         tiff.shorts(kPredictor, {deflation.predictor}), tiff.longs(kTileWidth, {kTile}),
         tiff.longs(kTileLength, {kTile}),
         tiff.longs(kTileOffsets, std::vector<std::uint32_t>(lengths.size())),
         tiff.longs(kTileByteCounts, lengths), tiff.byte(kDngVersion, {1, 4, 0, 0})});
    tiff.append(noise(70000, number));
    tiff.pad_to_sector();
    photo.image = tiff.offset();
    const std::uint32_t offsets = get_u32(tiff.bytes(), ifd.value(kTileOffsets), ByteOrder::kLittle);
    for (std::uint32_t nth = 0; nth < lengths.size(); ++nth) {
        tiff.patch_u32(offsets + 4 * nth, tiff.append(photo.tiles[nth]));
    }
    photo.bytes = tiff.bytes();
    return photo;
}

std::vector<Bytes> tiles_by_tables(const Bytes& file) {
    std::vector<Bytes> tiles;
    const auto sample = Sample::read(file);
    for (std::size_t nth = 0; sample && nth < sample->description.raw.pieces.size(); ++nth) {
        const raw_mend::Extent& data = sample->description.raw.pieces[nth].data;
        tiles.push_back(part(file, data.offset, data.end()));
    }
    return tiles;
}

const Deflation kPlain{"Plain", 1, 1};

TEST(Tiles, ThatAreUncompressedComeBackWhereverTheyAre) {
    const TiledFile intact = make_photo(kPlain, 1);
    const TiledFile original = make_photo(kPlain, 2);
    const auto sample = Sample::read(intact.bytes);
    ASSERT_TRUE(sample);
    ASSERT_TRUE(sample->rows);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes damaged = damage.make(original.bytes, original.image, intact.bytes);
        const auto repaired = raw_mend::repair(damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        EXPECT_TRUE(tiles_by_tables(written(*repaired->file)) == original.tiles)
            << repaired->image.pieces.front()->offset << ", " << repaired->image.proved
            << testing::PrintToString(repaired->image.doubts);
    }
}

class DeflatedTiles : public testing::TestWithParam<Deflation> {};

INSTANTIATE_TEST_SUITE_P(All, DeflatedTiles,
                         testing::Values(Deflation{"None", 8, 1}, Deflation{"Horizontal", 8, 2},
                                         Deflation{"FloatingPoint", 8, 3},
                                         Deflation{"HorizontalX2", 8, 34892},
                                         Deflation{"OldNumber", 32946, 2}),
                         [](const auto& test) { return test.param.name; });

TEST_P(DeflatedTiles, ComeBackProvedWhereverTheyAre) {
    const TiledFile intact = make_photo(GetParam(), 1);
    const TiledFile original = make_photo(GetParam(), 2);
    const auto sample = Sample::read(intact.bytes);
    ASSERT_TRUE(sample);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes damaged = damage.make(original.bytes, original.image, intact.bytes);
        const auto repaired = raw_mend::repair(damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        EXPECT_TRUE(tiles_by_tables(written(*repaired->file)) == original.tiles);
        EXPECT_EQ(repaired->image.proved, repaired->image.doubts.empty() ? original.tiles.size() : 0U);
        EXPECT_TRUE(repaired->image.lost.empty());
    }
}

/// The tables say where the others are.
TEST_P(DeflatedTiles, OfWhichOneIsOverwrittenLoseOnlyThat) {
    constexpr std::size_t kLost = 4; // In the second row, in the middle.
    const TiledFile intact = make_photo(GetParam(), 1);
    const TiledFile original = make_photo(GetParam(), 2);
    const auto sample = Sample::read(intact.bytes);
    ASSERT_TRUE(sample);
    std::size_t begin = original.image;
    for (std::size_t nth = 0; nth < kLost; ++nth) {
        begin += original.tiles[nth].size();
    }
    Bytes damaged = original.bytes;
    put_bytes(damaged, begin + 3000, noise(4096, 5));
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_EQ(repaired->image.proved, original.tiles.size() - 1);
    ASSERT_EQ(repaired->image.lost.size(), 1U);
    EXPECT_EQ(repaired->image.lost.front(), (raw_mend::Area{kTile, kTile, kTile, kTile}));
    std::vector<Bytes> expected = original.tiles;
    const std::vector<Bytes> tiles = tiles_by_tables(written(*repaired->file));
    ASSERT_EQ(tiles.size(), expected.size());
    EXPECT_EQ(inflated(tiles[kLost]), Bytes(std::size_t{2} * kTile * kTile));
    expected[kLost] = tiles[kLost];
    EXPECT_TRUE(tiles == expected);
}

TEST_P(DeflatedTiles, AreNotClaimedIfABitIsFlipped) {
    const TiledFile original = make_photo(GetParam(), 2);
    const TiledFile intact = make_photo(GetParam(), 1);
    const auto sample = Sample::read(intact.bytes);
    ASSERT_TRUE(sample);
    Bytes damaged = original.bytes;
    damaged[original.image + original.tiles[0].size() - 1] ^= 1U; // Of the check value.
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired);
    EXPECT_EQ(repaired->image.proved, original.tiles.size() - 1);
    EXPECT_FALSE(raw_mend::repair(zeroed(damaged, 0, original.image), *sample));
}

TEST(ZlibStream, IsCompleteUpToItsCheckValue) {
    const Bytes data = noise(100000, 1);
    const Bytes stream = deflated(data);
    const Bytes file = joined(joined(noise(10, 2), stream), noise(50, 3));
    const auto check = raw_mend::check_zlib_stream(file, 10, data.size());
    EXPECT_EQ(check.length, stream.size());
    EXPECT_EQ(check.inflated, data.size());
    EXPECT_FALSE(raw_mend::check_zlib_stream(file, 10, data.size() - 1).length);
    EXPECT_FALSE(raw_mend::check_zlib_stream(file, 11, data.size()).length);
    EXPECT_FALSE(raw_mend::check_zlib_stream(part(file, 0, 10 + stream.size() - 1), 10, data.size()).length);
    EXPECT_FALSE(raw_mend::check_zlib_stream(file, file.size(), data.size()).length);
}

TEST(ZlibStream, OfZerosHasAsManyAsWanted) {
    for (const std::size_t length : {0U, 1U, 16384U, 16385U, 1000000U}) {
        const auto stream = raw_mend::make_zlib_zeros(length);
        const auto check = raw_mend::check_zlib_stream(stream, 0, length);
        EXPECT_EQ(check.length, stream.size()) << length;
        EXPECT_EQ(check.inflated, length);
    }
}

} // namespace
} // namespace test
