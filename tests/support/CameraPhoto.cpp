#include "support/CameraPhoto.h"

#include "support/LosslessJpeg.h"
#include "support/Scene.h"
#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <vector>

namespace test {

namespace {

constexpr std::uint16_t kThumbnailWidth = 32;
constexpr std::uint16_t kThumbnailHeight = 24;

Bytes packed(const std::vector<std::uint16_t>& samples, unsigned bits) {
    Bytes bytes;
    unsigned pending = 0;
    unsigned count = 0;
    for (const std::uint16_t sample : samples) {
        pending = pending << bits | sample;
        for (count += bits; count >= 8; count -= 8) {
            bytes.push_back(static_cast<unsigned char>(pending >> (count - 8)));
        }
        pending &= (1U << count) - 1;
    }
    return bytes;
}

std::vector<TiffEntry> image_entries(const TiffWriter& tiff, const CameraPhoto::Format& format,
                                     unsigned width, unsigned height, const std::vector<Bytes>& pieces) {
    std::vector<std::uint32_t> lengths;
    lengths.reserve(pieces.size());
    for (const Bytes& piece : pieces) {
        lengths.push_back(static_cast<std::uint32_t>(piece.size()));
    }
    const std::vector<std::uint32_t> offsets(pieces.size(), kLater);
    std::vector<TiffEntry> entries{tiff.longs(kNewSubfileType, {0}),
                                   tiff.longs(kImageWidth, {width}),
                                   tiff.longs(kImageLength, {height}),
                                   tiff.shorts(kBitsPerSample, {static_cast<std::uint16_t>(format.bits)}),
                                   tiff.shorts(kCompression, {format.compression}),
                                   tiff.shorts(kPhotometric, {kCfa}),
                                   tiff.ascii(kMake, format.make),
                                   tiff.ascii(kModel, format.model)};
    if (format.tile == 0) {
        entries.push_back(tiff.longs(kStripOffsets, offsets));
        entries.push_back(tiff.shorts(kSamplesPerPixel, {1}));
        entries.push_back(tiff.longs(kRowsPerStrip, {height}));
        entries.push_back(tiff.longs(kStripByteCounts, lengths));
    } else {
        entries.push_back(tiff.shorts(kSamplesPerPixel, {1}));
        entries.push_back(tiff.longs(kTileWidth, {format.tile}));
        entries.push_back(tiff.longs(kTileLength, {format.tile}));
        entries.push_back(tiff.longs(kTileOffsets, offsets));
        entries.push_back(tiff.longs(kTileByteCounts, lengths));
    }
    entries.push_back(tiff.shorts(kCfaPatternDim, {2, 2}));
    entries.push_back(tiff.byte(kCfaPattern, {0, 1, 1, 2}));
    return entries;
}

/// The samples in tiles, row by row of tiles, each as a lossless JPEG. What is beyond the image is 0.
std::vector<Bytes> lossless_tiles(const std::vector<std::uint16_t>& samples, unsigned width, unsigned height,
                                  unsigned tile_width, unsigned tile_height, unsigned bits) {
    std::vector<Bytes> tiles;
    for (unsigned top = 0; top < height; top += tile_height) {
        for (unsigned left = 0; left < width; left += tile_width) {
            std::vector<std::uint16_t> tile;
            for (unsigned row = top; row < top + tile_height; ++row) {
                for (unsigned column = left; column < left + tile_width; ++column) {
                    const bool is_inside = row < height && column < width;
                    tile.push_back(is_inside ? samples[std::size_t{row} * width + column] : std::uint16_t{0});
                }
            }
            tiles.push_back(lossless_jpeg(tile, tile_width / 2, tile_height,
                                          {.bits = bits, .components = 2, .tables = {codes_for_16_bits()}}));
        }
    }
    return tiles;
}

std::vector<Bytes> pieces_of(const CameraPhoto::Format& format, unsigned number, unsigned width,
                             unsigned height) {
    const auto samples = Scene(number).bayer(width, height, format.bits, 1U << (format.bits - 5));
    if (format.is_lossless_jpeg) {
        return format.tile == 0
                   ? lossless_tiles(samples, width, height, width, height, format.bits)
                   : lossless_tiles(samples, width, height, format.tile, format.tile, format.bits);
    }
    return {format.is_packed ? packed(samples, format.bits) : u16_bytes(samples, format.order)};
}

TiffDirectory write_thumbnail_directory(TiffWriter& tiff, const CameraPhoto::Format& format,
                                        std::size_t length) {
    return tiff.write_directory(
        {tiff.longs(kNewSubfileType, {1}), tiff.longs(kImageWidth, {kThumbnailWidth}),
         tiff.longs(kImageLength, {kThumbnailHeight}), tiff.shorts(kBitsPerSample, {8, 8, 8}),
         tiff.shorts(kCompression, {1}), tiff.shorts(kPhotometric, {2}), tiff.ascii(kMake, format.make),
         tiff.ascii(kModel, format.model), tiff.longs(kStripOffsets, {kLater}),
         tiff.shorts(kSamplesPerPixel, {3}), tiff.longs(kRowsPerStrip, {kThumbnailHeight}),
         tiff.longs(kStripByteCounts, {static_cast<std::uint32_t>(length)}), tiff.longs(kSubIfds, {kLater})});
}

} // namespace

CameraPhoto::CameraPhoto(const Format& format, unsigned number, unsigned width, unsigned height) {
    constexpr std::size_t kFiller = 20000;
    const std::vector<Bytes> pieces = pieces_of(format, number, width, height);
    TiffWriter tiff(format.order);
    tiff.write_header();
    const auto raw = [&] { return tiff.write_directory(image_entries(tiff, format, width, height, pieces)); };
    TiffDirectory image_ifd{};
    if (format.has_sub_directory) {
        const Bytes thumbnail = Scene(number).rgb8(kThumbnailWidth, kThumbnailHeight);
        const TiffDirectory ifd0 = write_thumbnail_directory(tiff, format, thumbnail.size());
        image_ifd = raw();
        tiff.set_value(ifd0, kSubIfds, image_ifd.offset);
        tiff.set_value(ifd0, kStripOffsets, tiff.append(thumbnail));
    } else {
        image_ifd = raw();
    }
    tiff.append(noise(kFiller + std::size_t{900} * number, number));
    tiff.pad_to_sector();
    image_offset = tiff.offset();
    const std::uint32_t slot = image_ifd.value(format.tile == 0 ? kStripOffsets : kTileOffsets);
    const std::uint32_t list =
        pieces.size() == 1 ? slot : get_u32(tiff.bytes(), slot, format.order); // Of the offsets.
    for (std::uint32_t nth = 0; nth < pieces.size(); ++nth) {
        tiff.patch_u32(list + 4 * nth, tiff.append(pieces[nth]));
    }
    bytes = tiff.bytes();
}

} // namespace test
