#include "support/NefPhoto.h"

#include "support/Jpeg.h"
#include "support/Scene.h"
#include "support/TiffTags.h"

#include <utility>

namespace test {

namespace {

constexpr unsigned kThumbnailWidth = 40;
constexpr unsigned kThumbnailHeight = 30;

/// Two samples of 12 bits in three bytes, high bits first.
Bytes packed(const std::vector<std::uint16_t>& samples) {
    Bytes image;
    image.reserve(samples.size() / 2 * 3);
    for (std::size_t index = 0; index + 1 < samples.size(); index += 2) {
        const std::uint32_t pair = std::uint32_t{samples[index]} << 12U | samples[index + 1];
        for (const unsigned shift : {16U, 8U, 0U}) {
            image.push_back(static_cast<unsigned char>(pair >> shift));
        }
    }
    return image;
}

} // namespace

NefPhoto::NefPhoto(const Options& options) {
    const Scene scene(options.number);
    TiffWriter tiff(options.order);
    tiff.write_header();
    ifd0 = tiff.write_directory({tiff.longs(kNewSubfileType, {1}),
                                 tiff.longs(kImageWidth, {kThumbnailWidth}),
                                 tiff.longs(kImageLength, {kThumbnailHeight}),
                                 tiff.shorts(kBitsPerSample, {8, 8, 8}),
                                 tiff.shorts(kCompression, {1}),
                                 tiff.shorts(kPhotometric, {2}),
                                 tiff.ascii(kMake, "NIKON CORPORATION"),
                                 tiff.ascii(kModel, "NIKON D3"),
                                 tiff.longs(kStripOffsets, {kLater}),
                                 tiff.shorts(kOrientation, {1}),
                                 tiff.shorts(kSamplesPerPixel, {3}),
                                 tiff.longs(kRowsPerStrip, {kThumbnailHeight}),
                                 tiff.longs(kStripByteCounts, {kLater}),
                                 tiff.rationals(kXResolution, {300, 1}),
                                 tiff.rationals(kYResolution, {300, 1}),
                                 tiff.shorts(kPlanarConfiguration, {1}),
                                 tiff.shorts(kResolutionUnit, {2}),
                                 tiff.ascii(kSoftware, "Ver.1.00"),
                                 tiff.ascii(kDateTime, "2026:11:21 17:40:00"),
                                 tiff.longs(kSubIfds, {kLater, kLater})});
    tiff.append(Bytes(options.maker_notes, 0x20));
    preview_ifd =
        tiff.write_directory({tiff.longs(kNewSubfileType, {1}), tiff.shorts(kCompression, {6}),
                              tiff.rationals(kXResolution, {300, 1}), tiff.rationals(kYResolution, {300, 1}),
                              tiff.shorts(kResolutionUnit, {2}), tiff.longs(kJpegOffset, {kLater}),
                              tiff.longs(kJpegLength, {kLater})});
    raw_ifd =
        tiff.write_directory({tiff.longs(kNewSubfileType, {0}), tiff.longs(kImageWidth, {options.width}),
                              tiff.longs(kImageLength, {options.height}),
                              tiff.shorts(kBitsPerSample, {static_cast<std::uint16_t>(options.bits)}),
                              tiff.shorts(kCompression, {1}), tiff.shorts(kPhotometric, {kCfa}),
                              tiff.longs(kStripOffsets, {kLater}), tiff.shorts(kSamplesPerPixel, {1}),
                              tiff.longs(kRowsPerStrip, {options.height}),
                              tiff.longs(kStripByteCounts, {kLater}), tiff.rationals(kXResolution, {300, 1}),
                              tiff.rationals(kYResolution, {300, 1}), tiff.shorts(kPlanarConfiguration, {1}),
                              tiff.shorts(kResolutionUnit, {2}), tiff.shorts(kCfaPatternDim, {2, 2}),
                              tiff.byte(kCfaPattern, {0, 1, 1, 2}), tiff.shorts(kSensingMethod, {2})});
    sub_ifds_list = get_u32(tiff.bytes(), ifd0.value(kSubIfds), options.order);
    tiff.patch_u32(sub_ifds_list, preview_ifd.offset);
    tiff.patch_u32(sub_ifds_list + 4, raw_ifd.offset);

    const Bytes thumbnail = scene.rgb8(kThumbnailWidth, kThumbnailHeight);
    const auto samples = scene.bayer(options.width, options.height, options.bits);
    const Bytes raw = options.bits == 12 ? packed(samples) : u16_bytes(samples, options.order);
    thumbnail_size = static_cast<std::uint32_t>(thumbnail.size());
    raw_size = static_cast<std::uint32_t>(raw.size());
    thumbnail_offset = tiff.place(ifd0, kStripOffsets, kStripByteCounts, thumbnail);
    const Bytes preview =
        options.preview.empty() ? make_preview(scene, options.width, options.height) : options.preview;
    preview_offset = tiff.place(preview_ifd, kJpegOffset, kJpegLength, preview);
    raw_offset = tiff.place(raw_ifd, kStripOffsets, kStripByteCounts, raw);
    bytes = tiff.bytes();
}

Bytes blanked(Bytes bytes, const NefPhoto& photo) {
    bytes = zeroed(std::move(bytes), photo.thumbnail_offset, photo.thumbnail_offset + photo.thumbnail_size);
    return zeroed(std::move(bytes), photo.preview_offset, photo.preview_offset + 30);
}

Bytes expected_output(const NefPhoto& sample, const NefPhoto& original, const Bytes& damaged) {
    return joined(part(blanked(sample.bytes, sample), 0, sample.raw_offset),
                  part(damaged, original.raw_offset, damaged.size()));
}

} // namespace test
