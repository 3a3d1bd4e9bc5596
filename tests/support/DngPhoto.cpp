#include "support/DngPhoto.h"

#include "support/Jpeg.h"
#include "support/LosslessJpeg.h"
#include "support/Scene.h"
#include "support/TiffTags.h"

#include <utility>

namespace test {

namespace {

constexpr std::uint16_t kJpeg = 7;      // JPEG in the sense of DNG: baseline or lossless.
constexpr std::uint16_t kYCbCr = 6;     // Photometric interpretation of the previews.
constexpr std::uint16_t kDaylight = 21; // D65
constexpr unsigned kBits = 14;          // A sample.

/// The tile at a column and a row, filled up at the edges with zeros.
Bytes encode_tile(const DngPhoto& photo, const DngPhoto::Options& options, unsigned left, unsigned top) {
    std::vector<std::uint16_t> tile(std::size_t{options.tile_width} * options.tile_height);
    for (unsigned row = 0; row < options.tile_height && top + row < options.height; ++row) {
        for (unsigned column = 0; column < options.tile_width && left + column < options.width; ++column) {
            tile[std::size_t{row} * options.tile_width + column] =
                photo.samples[std::size_t{top + row} * options.width + left + column];
        }
    }
    return lossless_jpeg(tile, options.tile_width, options.tile_height, kBits);
}

/// Where a list of LONGs is: in the value field when it has one.
std::uint32_t list_of(const DngPhoto& photo, const TiffDirectory& directory, std::uint16_t tag) {
    const std::uint32_t entry = directory.entry(tag);
    return get_u32(photo.bytes, entry + 4, photo.order) == 1 ? entry + 8
                                                             : get_u32(photo.bytes, entry + 8, photo.order);
}

} // namespace

DngPhoto::DngPhoto(const Options& options) : order(options.order) {
    const Scene scene(options.number);
    samples = scene.bayer(options.width, options.height, kBits);
    const unsigned columns = (options.width + options.tile_width - 1) / options.tile_width;
    const unsigned rows = (options.height + options.tile_height - 1) / options.tile_height;
    const std::vector<std::uint32_t> one_a_tile(std::size_t{columns} * rows, kLater);
    const std::vector<std::uint32_t> one_a_sub_ifd(options.sub_previews + 1, kLater);

    TiffWriter tiff(options.order);
    tiff.write_header();
    const auto preview_width = [&](std::size_t preview) { // In IFD 0 and in the sub-directories.
        return options.width / (preview == 0 ? 4U : 2U);
    };
    const auto preview_height = [&](std::size_t preview) {
        return options.height / (preview == 0 ? 4U : 2U);
    };
    const auto directory_with_preview = [&](std::size_t preview, const std::vector<TiffEntry>& more) {
        std::vector<TiffEntry> entries{
            tiff.longs(kNewSubfileType, {1}),
            tiff.longs(kImageWidth, {preview_width(preview)}),
            tiff.longs(kImageLength, {preview_height(preview)}),
            tiff.shorts(kBitsPerSample, {8, 8, 8}),
            tiff.shorts(kCompression, {kJpeg}),
            tiff.shorts(kPhotometric, {kYCbCr}),
            tiff.longs(kStripOffsets, {kLater}),
            tiff.shorts(kOrientation, {1}),
            tiff.shorts(kSamplesPerPixel, {3}),
            tiff.longs(kRowsPerStrip, {preview_height(preview)}),
            tiff.longs(kStripByteCounts, {kLater}),
            tiff.shorts(kPlanarConfiguration, {1}),
        };
        if (preview == 0) {
            const auto after_photometric = entries.begin() + 6;
            entries.insert(after_photometric, {tiff.ascii(kMake, "Ricoh"), tiff.ascii(kModel, "GXR A12")});
        }
        entries.insert(entries.end(), more.begin(), more.end());
        return tiff.write_directory(entries);
    };

    ifd0 = directory_with_preview(
        0,
        {tiff.ascii(kSoftware, "GXR v1.50"), tiff.ascii(kDateTime, "2026:11:21 17:40:00"),
         tiff.longs(kSubIfds, one_a_sub_ifd), tiff.byte(kDngVersion, {1, 4, 0, 0}),
         tiff.ascii(kUniqueCameraModel, "Ricoh GXR A12"),
         tiff.srationals(kColorMatrix1, {8, 10, -2, 10, -1, 10, -4, 10, 12, 10, 2, 10, -1, 10, 2, 10, 6, 10}),
         tiff.rationals(kAsShotNeutral, {1, 2, 1, 1, 2, 3}),
         tiff.shorts(kCalibrationIlluminant1, {kDaylight})});
    tiff.append(Bytes(options.private_data, 0x20));
    std::vector<std::uint32_t> sub_ifd_offsets;
    for (std::size_t index = 0; index <= options.sub_previews; ++index) {
        sub_ifd_offsets.push_back(tiff.offset());
        if (index != options.main_index) {
            preview_ifds.push_back(directory_with_preview(preview_ifds.size() + 1, {}));
            continue;
        }
        main_ifd = tiff.write_directory(
            {tiff.longs(kNewSubfileType, {0}), tiff.longs(kImageWidth, {options.width}),
             tiff.longs(kImageLength, {options.height}), tiff.shorts(kBitsPerSample, {kBits}),
             tiff.shorts(kCompression, {kJpeg}), tiff.shorts(kPhotometric, {kCfa}),
             tiff.shorts(kSamplesPerPixel, {1}), tiff.shorts(kPlanarConfiguration, {1}),
             tiff.longs(kTileWidth, {options.tile_width}), tiff.longs(kTileLength, {options.tile_height}),
             tiff.longs(kTileOffsets, one_a_tile), tiff.longs(kTileByteCounts, one_a_tile),
             tiff.shorts(kCfaPatternDim, {2, 2}), tiff.byte(kCfaPattern, {0, 1, 1, 2}),
             tiff.shorts(kBlackLevel, {0}), tiff.shorts(kWhiteLevel, {(1U << kBits) - 1})});
    }
    main_entry = main_ifd.entry(kNewSubfileType);

    std::vector<TiffDirectory> with_preview{ifd0};
    with_preview.insert(with_preview.end(), preview_ifds.begin(), preview_ifds.end());
    for (std::size_t preview = 0; preview < with_preview.size(); ++preview) {
        const bool given = preview + 1 == with_preview.size() && !options.preview.empty();
        const Bytes jpeg =
            given ? options.preview : make_preview(scene, preview_width(preview), preview_height(preview));
        preview_offsets.push_back(tiff.place(with_preview[preview], kStripOffsets, kStripByteCounts, jpeg));
        preview_sizes.push_back(static_cast<std::uint32_t>(jpeg.size()));
    }

    tiff.pad_to_sector();
    for (unsigned top = 0; top < options.height; top += options.tile_height) {
        for (unsigned left = 0; left < options.width; left += options.tile_width) {
            const Bytes tile = encode_tile(*this, options, left, top);
            tile_offsets.push_back(tiff.append(tile));
            tile_byte_counts.push_back(static_cast<std::uint32_t>(tile.size()));
        }
    }

    bytes = tiff.bytes();
    const std::uint32_t sub_ifd_list = list_of(*this, ifd0, kSubIfds);
    for (std::size_t index = 0; index < sub_ifd_offsets.size(); ++index) {
        put_u32(bytes, sub_ifd_list + 4 * index, sub_ifd_offsets[index], order);
    }
    for (std::size_t tile = 0; tile < tiles(); ++tile) {
        put_u32(bytes, offset_slot(tile), tile_offsets[tile], order);
        put_u32(bytes, byte_count_slot(tile), tile_byte_counts[tile], order);
    }
}

std::uint32_t DngPhoto::offset_slot(std::size_t tile) const {
    return list_of(*this, main_ifd, kTileOffsets) + 4 * static_cast<std::uint32_t>(tile);
}

std::uint32_t DngPhoto::byte_count_slot(std::size_t tile) const {
    return list_of(*this, main_ifd, kTileByteCounts) + 4 * static_cast<std::uint32_t>(tile);
}

Bytes blanked(Bytes bytes, const DngPhoto& photo) {
    for (const std::uint32_t preview : photo.preview_offsets) {
        bytes = zeroed(std::move(bytes), preview, preview + 30);
    }
    return bytes;
}

Bytes patched(const DngPhoto& sample, const DngPhoto& original) {
    Bytes bytes = blanked(sample.bytes, sample);
    std::uint32_t offset = sample.tile_offsets[0];
    for (std::size_t tile = 0; tile < sample.tiles(); ++tile) {
        put_u32(bytes, sample.offset_slot(tile), offset, sample.order);
        put_u32(bytes, sample.byte_count_slot(tile), original.tile_byte_counts[tile], sample.order);
        offset += original.tile_byte_counts[tile];
    }
    return bytes;
}

std::size_t end_of_tiles(const DngPhoto& photo) {
    return photo.tile_offsets.back() + photo.tile_byte_counts.back();
}

Bytes expected_output(const DngPhoto& sample, const DngPhoto& original, const Bytes& damaged) {
    return joined(part(patched(sample, original), 0, sample.tile_offsets[0]),
                  part(damaged, original.tile_offsets[0], end_of_tiles(original)));
}

} // namespace test
