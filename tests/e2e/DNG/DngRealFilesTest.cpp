#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/Jpeg.h"
#include "support/LosslessJpeg.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"
#include "support/Scene.h"
#include "support/TiffWriter.h"

#include <gmock/gmock.h>

// Real DNG files of three origins. Where a file lacks the sub-directories or the tiles that a repair needs,
// it is rewritten as a converter would write it: the camera's directory and raw data stay.

namespace test {
namespace {

using ::testing::ElementsAre;

const RepairLog kLog = repair_log("dng");

auto failed(const std::string& reason) {
    return ElementsAre(kLog.cloned, kLog.failed("DNG repaired failed, reason is " + reason));
}

/// Two tiles, and where the two lists of them are.
struct TwoTiles {
    ByteOrder order;
    std::uint32_t offset_list;
    std::uint32_t byte_count_list;

    [[nodiscard]] std::uint32_t offset(const Bytes& file, std::size_t tile) const {
        return get_u32(file, offset_list + 4 * tile, order);
    }
    [[nodiscard]] std::uint32_t byte_count(const Bytes& file, std::size_t tile) const {
        return get_u32(file, byte_count_list + 4 * tile, order);
    }
    [[nodiscard]] Bytes tile(const Bytes& file, std::size_t tile) const {
        return part(file, offset(file, tile), offset(file, tile) + byte_count(file, tile));
    }

    /// The file's bytes up to the end of head, then these tiles end to end, and nothing after.
    [[nodiscard]] Bytes with_tiles(const Bytes& head, const Bytes& first, const Bytes& second) const {
        Bytes file = head;
        put_u32(file, offset_list, static_cast<std::uint32_t>(head.size()), order);
        put_u32(file, offset_list + 4, static_cast<std::uint32_t>(head.size() + first.size()), order);
        put_u32(file, byte_count_list, static_cast<std::uint32_t>(first.size()), order);
        put_u32(file, byte_count_list + 4, static_cast<std::uint32_t>(second.size()), order);
        return joined(joined(file, first), second);
    }

    /// Another photograph from the same camera: the same file with its tiles in the other order.
    [[nodiscard]] Bytes another_photograph(const Bytes& file) const {
        return with_tiles(part(file, 0, offset(file, 0)), tile(file, 1), tile(file, 0));
    }
};

/// The file with a first directory put in at the offset, which becomes the end of the header: a preview, and
/// the directory at offset 8 as its only sub-directory.
Bytes with_first_directory(const Bytes& file, std::size_t at, ByteOrder order) {
    TiffWriter tiff(order);
    tiff.append(part(file, 0, at));
    const Bytes jpeg = make_preview(Scene(1), 160, 120);
    const TiffDirectory ifd0 = tiff.write_directory(
        {tiff.longs(254, {1}), tiff.longs(256, {160}), tiff.longs(257, {120}), tiff.shorts(258, {8, 8, 8}),
         tiff.shorts(259, {7}), tiff.shorts(262, {6}), tiff.longs(273, {0}), tiff.shorts(277, {3}),
         tiff.longs(278, {120}), tiff.longs(279, {static_cast<std::uint32_t>(jpeg.size())}),
         tiff.shorts(284, {1}), tiff.longs(330, {8}), tiff.byte(50706, {1, 4, 0, 0})});
    tiff.patch_u32(4, ifd0.offset);
    tiff.set_value(ifd0, 273, tiff.append(jpeg));
    return tiff.bytes();
}

class DngRealFiles : public RepairFixture {
  protected:
    /// Repairs the original with everything before an offset destroyed.
    void expect_picture(const Bytes& sample, const Bytes& original, std::size_t destroyed) {
        const auto picture = decode_raw(original);
        ASSERT_TRUE(picture.has_value());
        const auto sample_picture = decode_raw(sample);
        ASSERT_TRUE(sample_picture.has_value());
        ASSERT_NE(picture, sample_picture);
        Bytes damaged = original;
        put_bytes(damaged, 0, noise(destroyed, 3));
        ASSERT_EQ(decode_raw(damaged), std::nullopt);
        ASSERT_EQ(advance("dng", damaged, sample), 0);
        EXPECT_EQ(decode_raw(output_path), picture);
    }
};

// Blackmagic Pocket Cinema Camera: big-endian, one directory at 8, two tiles of lossless JPEG.

constexpr TwoTiles kBlackmagic{ByteOrder::kBig, 434, 442};
constexpr std::size_t kBlackmagicTiles = 9216;

TEST_F(DngRealFiles, BlackmagicIsRepaired) {
    REAL_FILE_OR_SKIP(original, "dng/blackmagic-pocket.dng");
    const Bytes head = with_first_directory(original, kBlackmagicTiles, ByteOrder::kBig);
    const Bytes sample =
        kBlackmagic.with_tiles(head, kBlackmagic.tile(original, 1), kBlackmagic.tile(original, 0));
    expect_picture(sample, original, 10);
    EXPECT_EQ(kBlackmagic.tile(*output(), 0), kBlackmagic.tile(original, 0));
    EXPECT_EQ(kBlackmagic.tile(*output(), 1), kBlackmagic.tile(original, 1));
}

TEST_F(DngRealFiles, BlackmagicHasNoPreviewAndIsNoSample) {
    REAL_FILE_OR_SKIP(file, "dng/blackmagic-pocket.dng");
    // Without a StripOffsets entry the first bytes of that kind are in its linearisation table, at 1294.
    EXPECT_EQ(advance("dng", file, file), -1023);
    EXPECT_THAT(lines(), failed("Data is illegal"));
    EXPECT_EQ(work_file("temp.dng"), file);
}

// Canon EOS Kiss X4: little-endian, one directory at 8, the raw data in one uncompressed strip.

constexpr TwoTiles kX4{ByteOrder::kLittle, 968, 976}; // After the directory's last values.
constexpr std::size_t kX4Image = 1536;

/// The file's first 1536 bytes, with the entries of two tiles of lossless JPEG in place of those of the
/// strip.
Bytes tiled_x4_head(const Bytes& file, std::uint32_t tile_width, std::uint32_t tile_height) {
    Bytes head = part(file, 0, kX4Image);
    const auto put_entry = [&head](std::size_t at, std::uint16_t tag, std::uint32_t count,
                                   std::uint32_t value) {
        put_bytes(head, at, entry_bytes(tag, 4, count, value));
    };
    put_u32(head, 58 + 8, 7, ByteOrder::kLittle); // Compression
    put_entry(106, 324, 2, kX4.offset_list);      // In place of StripOffsets,
    put_entry(142, 322, 1, tile_width);           // of RowsPerStrip,
    put_entry(154, 325, 2, kX4.byte_count_list);  // of StripByteCounts,
    put_entry(238, 323, 1, tile_height);          // and of an empty Artist.
    return head;
}

TEST_F(DngRealFiles, CanonX4InTwoTilesIsRepaired) {
    REAL_FILE_OR_SKIP(file, "dng/canon-x4-colorchart.dng");
    const auto picture = decode_raw(file);
    ASSERT_TRUE(picture.has_value());
    const std::uint32_t width = picture->width / 2;
    const std::uint32_t height = picture->height;
    std::vector<Bytes> tiles;
    for (const std::uint32_t left : {0U, width}) {
        std::vector<std::uint16_t> samples;
        for (std::uint32_t row = 0; row < height; ++row) {
            const std::uint16_t* first = &picture->samples[std::size_t{row} * picture->width + left];
            samples.insert(samples.end(), first, first + width);
        }
        tiles.push_back(lossless_jpeg(samples, width, height));
    }
    const Bytes head = tiled_x4_head(file, width, height);
    const Bytes original = kX4.with_tiles(head, tiles[0], tiles[1]);
    ASSERT_EQ(decode_raw(original), picture) << "the same raw data in another form";
    const Bytes sample_head = with_first_directory(head, kX4Image, ByteOrder::kLittle);
    expect_picture(kX4.with_tiles(sample_head, tiles[1], tiles[0]), original, 10);
}

TEST_F(DngRealFiles, CanonX4HasNoSubDirectoriesAndIsNoSample) {
    REAL_FILE_OR_SKIP(file, "dng/canon-x4-colorchart.dng");
    // The first bytes that look like SubIFDs are in the raw data, at 91465.
    EXPECT_EQ(advance("dng", file, file), -1023);
    EXPECT_THAT(lines(), failed("Data is illegal"));
    EXPECT_EQ(work_file("temp.dng"), zeroed(file, kX4Image, kX4Image + 30))
        << "its strip was blanked for a preview";
}

TEST_F(DngRealFiles, CanonX4HasNoTilesAndIsNotFound) {
    REAL_FILE_OR_SKIP(file, "dng/canon-x4-colorchart.dng");
    REAL_FILE_OR_SKIP(sample, "dng/lg-h815-lossy.dng");
    EXPECT_EQ(advance("dng", file, sample), -1024);
    EXPECT_THAT(lines(), failed("Data can not found"));
}

// LG-H815, rewritten by a converter: little-endian, a preview, the main image as two tiles of lossy JPEG.

constexpr TwoTiles kLg{ByteOrder::kLittle, 12512, 12520};
constexpr std::size_t kLgMainEntry = 12238;
constexpr std::size_t kLgPreview = 13092;
constexpr std::size_t kLgTiles = 24144;

TEST_F(DngRealFiles, LgH815IsRepairedByteForByte) {
    REAL_FILE_OR_SKIP(original, "dng/lg-h815-lossy.dng");
    const Bytes sample = kLg.another_photograph(original);
    Bytes damaged = original;
    put_bytes(damaged, 0, noise(kLgMainEntry, 3));
    ASSERT_EQ(advance("dng", damaged, sample), 0);
    // The converter filled up the first tile, of odd length, by one byte. The block of tiles keeps that byte,
    // but the table, made for tiles end to end, leaves it out.
    ASSERT_EQ(kLg.offset(original, 1), kLgTiles + kLg.byte_count(original, 0) + 1);
    Bytes expected = zeroed(part(original, 0, kLgTiles), kLgPreview, kLgPreview + 30);
    put_u32(expected, kLg.offset_list + 4, kLg.offset(original, 1) - 1, ByteOrder::kLittle);
    const std::size_t end = kLg.offset(original, 1) + kLg.byte_count(original, 1);
    EXPECT_EQ(output(), joined(expected, part(original, kLgTiles, end)));
}

TEST_F(DngRealFiles, LgH815WithItsTilesEndToEndIsRepaired) {
    REAL_FILE_OR_SKIP(file, "dng/lg-h815-lossy.dng");
    const Bytes original = kLg.with_tiles(part(file, 0, kLgTiles), kLg.tile(file, 0), kLg.tile(file, 1));
    if (!decode_raw(original)) {
        GTEST_SKIP() << "needs a LibRaw that decodes lossy DNG";
    }
    expect_picture(kLg.another_photograph(original), original, kLgMainEntry);
}

TEST_F(DngRealFiles, LgH815WithItsMainDirectoryLostIsNotFound) {
    REAL_FILE_OR_SKIP(file, "dng/lg-h815-lossy.dng");
    const Bytes damaged = zeroed(file, 0, kLgTiles);
    EXPECT_EQ(advance("dng", damaged, file), -1024);
    EXPECT_THAT(lines(), failed("Data can not found"));
}

TEST_F(DngRealFiles, FilesOfDifferentByteOrderDoNotGoTogether) {
    REAL_FILE_OR_SKIP(damaged, "dng/blackmagic-pocket.dng");
    REAL_FILE_OR_SKIP(sample, "dng/lg-h815-lossy.dng");
    EXPECT_EQ(advance("dng", damaged, sample), -1024);
    EXPECT_THAT(lines(), failed("Data can not found"));
}

} // namespace
} // namespace test
