#include "Damages.h"
#include "Repair.h"
#include "RowImages.h"
#include "Written.h"

#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

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

/// A zlib stream of stored blocks.
Bytes stored(const Bytes& data) {
    constexpr std::size_t kBlock = 65535;
    Bytes stream{0x78, 0x01};
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    for (std::size_t at = 0; at < data.size(); at += kBlock) {
        const Bytes block = part(data, at, std::min(at + kBlock, data.size()));
        const auto size = static_cast<std::uint16_t>(block.size());
        stream.push_back(at + kBlock >= data.size() ? 1 : 0);
        stream = joined(std::move(stream),
                        u16_bytes({size, static_cast<std::uint16_t>(~size)}, ByteOrder::kLittle));
        stream = joined(std::move(stream), block);
    }
    for (const unsigned char byte : data) {
        low = (low + byte) % 65521;
        high = (high + low) % 65521;
    }
    return joined(std::move(stream), u32_bytes({high << 16U | low}, ByteOrder::kBig));
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

TiledFile make_photo(bool is_deflated, unsigned number) {
    const Picture picture = clouds(std::size_t{kTile} * kAcross, std::size_t{kTile} * kDown, number);
    TiledFile photo;
    std::vector<std::uint32_t> lengths;
    for (std::uint32_t row = 0; row < kDown; ++row) {
        for (std::uint32_t column = 0; column < kAcross; ++column) {
            const Bytes tile = tile_of(picture, column, row);
            photo.tiles.push_back(is_deflated ? stored(part(tile, 0, tile.size() - std::size_t{100} * number))
                                              : tile);
            lengths.push_back(static_cast<std::uint32_t>(photo.tiles.back().size()));
        }
    }
    TiffWriter tiff(ByteOrder::kLittle);
    tiff.write_header();
    const std::uint16_t compression = is_deflated ? 8 : 1;
    const TiffDirectory ifd = tiff.write_directory(
        {tiff.longs(kNewSubfileType, {0}), tiff.longs(kImageWidth, {kTile * kAcross}),
         tiff.longs(kImageLength, {kTile * kDown}), tiff.shorts(kBitsPerSample, {kBits}),
         tiff.shorts(kCompression, {compression}), tiff.shorts(kPhotometric, {kCfa}),
         tiff.ascii(kMake, "Maker"), tiff.ascii(kModel, "Model"), tiff.shorts(kSamplesPerPixel, {1}),
         tiff.longs(kTileWidth, {kTile}), tiff.longs(kTileLength, {kTile}),
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

TEST(Tiles, ThatAreUncompressedComeBackWhereverTheyAre) {
    const TiledFile intact = make_photo(false, 1);
    const TiledFile original = make_photo(false, 2);
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

/// Their lengths are needed: they come back where tables survive.
TEST(Tiles, ThatAreDeflatedComeBackByTheirOwnTables) {
    const TiledFile intact = make_photo(true, 1);
    const TiledFile original = make_photo(true, 2);
    const auto sample = Sample::read(intact.bytes);
    ASSERT_TRUE(sample);
    for (const Bytes& damaged :
         {original.bytes, joined(noise(1000, 1), original.bytes), zeroed(original.bytes, 0, 100),
          joined(noise(777, 1), zeroed(original.bytes, 0, 40))}) {
        const auto repaired = raw_mend::repair(damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        EXPECT_EQ(repaired->image.proved, 0U);
        EXPECT_TRUE(tiles_by_tables(written(*repaired->file)) == original.tiles);
    }
    EXPECT_FALSE(raw_mend::repair(zeroed(original.bytes, 0, 60000), *sample));
}

} // namespace
} // namespace test
