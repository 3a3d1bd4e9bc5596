#include "support/CameraPhoto.h"

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
                                     unsigned width, unsigned height, std::size_t length) {
    return {tiff.longs(kNewSubfileType, {0}),
            tiff.longs(kImageWidth, {width}),
            tiff.longs(kImageLength, {height}),
            tiff.shorts(kBitsPerSample, {static_cast<std::uint16_t>(format.bits)}),
            tiff.shorts(kCompression, {format.compression}),
            tiff.shorts(kPhotometric, {kCfa}),
            tiff.ascii(kMake, format.make),
            tiff.ascii(kModel, format.model),
            tiff.longs(kStripOffsets, {kLater}),
            tiff.shorts(kSamplesPerPixel, {1}),
            tiff.longs(kRowsPerStrip, {height}),
            tiff.longs(kStripByteCounts, {static_cast<std::uint32_t>(length)}),
            tiff.shorts(kCfaPatternDim, {2, 2}),
            tiff.byte(kCfaPattern, {0, 1, 1, 2})};
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
    const auto samples = Scene(number).bayer(width, height, format.bits, 1U << (format.bits - 5));
    const Bytes image = format.is_packed ? packed(samples, format.bits) : u16_bytes(samples, format.order);
    TiffWriter tiff(format.order);
    tiff.write_header();
    const auto raw = [&] {
        return tiff.write_directory(image_entries(tiff, format, width, height, image.size()));
    };
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
    image_offset = tiff.append(image);
    tiff.set_value(image_ifd, kStripOffsets, image_offset);
    bytes = tiff.bytes();
}

} // namespace test
