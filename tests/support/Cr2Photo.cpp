#include "support/Cr2Photo.h"

#include "support/Jpeg.h"
#include "support/LosslessJpeg.h"
#include "support/Scene.h"
#include "support/TiffTags.h"

#include <utility>

namespace test {

namespace {

constexpr std::uint16_t kJpegCompression = 6;
constexpr unsigned kBits = 14;
constexpr unsigned kSmallWidth = 24;
constexpr unsigned kSmallHeight = 18;

/// The rows of the sensor as the camera stores them: slice after slice, each row by row.
std::vector<std::uint16_t> in_slices(const std::vector<std::uint16_t>& samples, unsigned width,
                                     unsigned height, unsigned first_slice) {
    std::vector<std::uint16_t> sliced;
    sliced.reserve(samples.size());
    for (const auto& [begin, end] : {std::pair{0U, first_slice}, {first_slice, width}}) {
        for (unsigned row = 0; row < height; ++row) {
            for (unsigned column = begin; column < end; ++column) {
                sliced.push_back(samples[std::size_t{row} * width + column]);
            }
        }
    }
    return sliced;
}

/// The scene as 16-bit RGB, as in IFD 2.
Bytes small_picture(const Scene& scene, ByteOrder order) {
    std::vector<std::uint16_t> pixels;
    for (const unsigned char pixel : scene.rgb8(kSmallWidth, kSmallHeight)) {
        pixels.push_back(static_cast<std::uint16_t>(pixel * 64));
    }
    return u16_bytes(pixels, order);
}

/// Brightness and colour of noise-like detail.
Bytes small_raw(const Cr2Photo::Options& options) {
    constexpr unsigned kSmallRawBits = 15;
    const bool is_half_as_high = options.components == Cr2Photo::Components::kSmallRaw;
    const std::size_t per_mcu = is_half_as_high ? 6 : 4;
    const std::size_t mcus = std::size_t{options.width} / 2 * options.height / (is_half_as_high ? 2 : 1);
    std::vector<int> differences(mcus * per_mcu);
    const Bytes detail = noise(differences.size(), options.number);
    for (std::size_t at = 0; at < differences.size(); ++at) {
        differences[at] = detail[at] % 129 - 64;
    }
    LosslessJpegOptions jpeg;
    jpeg.bits = kSmallRawBits;
    jpeg.components = 3;
    jpeg.factors = is_half_as_high ? 0x22 : 0x21;
    return lossless_jpeg_of(differences, options.width, options.height, jpeg);
}

Bytes raw_data(const Cr2Photo::Options& options, unsigned first_slice) {
    using Components = Cr2Photo::Components;
    if (options.components == Components::kMediumRaw || options.components == Components::kSmallRaw) {
        return small_raw(options);
    }
    const unsigned components = options.components == Components::kFour ? 4 : 2;
    return lossless_jpeg(in_slices(Scene(options.number).bayer(options.width, options.height, kBits, 1024),
                                   options.width, options.height, first_slice),
                         options.width / components, options.height, kBits, components);
}

} // namespace

Cr2Photo::Cr2Photo(const Options& options) {
    const Scene scene(options.number);
    TiffWriter tiff(options.order);
    tiff.write_header(16);
    tiff.append({'C', 'R', 2, 0});
    const std::uint32_t raw_link = tiff.append(Bytes(4));

    const auto width = static_cast<std::uint16_t>(options.width);
    const auto height = static_cast<std::uint16_t>(options.height);
    ifd0 = tiff.write_directory(
        {tiff.shorts(kImageWidth, {width}), tiff.shorts(kImageLength, {height}),
         tiff.shorts(kBitsPerSample, {8, 8, 8}), tiff.shorts(kCompression, {kJpegCompression}),
         tiff.ascii(kDescription, "a lake in the evening"), tiff.ascii(kMake, "Canon"),
         tiff.ascii(kModel, "Canon EOS 50D"), tiff.longs(kStripOffsets, {kLater}),
         tiff.shorts(kOrientation, {1}), tiff.longs(kStripByteCounts, {kLater}),
         tiff.rationals(kXResolution, {72, 1}), tiff.rationals(kYResolution, {72, 1}),
         tiff.shorts(kResolutionUnit, {2}), tiff.ascii(kDateTime, "2026:11:21 17:40:00"),
         tiff.longs(kExifIfd, {kLater}), tiff.longs(kGpsInfo, {kLater})});
    const auto exif =
        tiff.write_directory({tiff.rationals(kExposureTime, {1, 125}), tiff.rationals(kFNumber, {56, 10}),
                              tiff.undefined(kExifVersion, {'0', '2', '2', '1'})});
    tiff.append(Bytes(options.maker_notes, 0x20));
    const auto gps = tiff.write_directory({tiff.byte(0, {2, 2, 0, 0})});
    // The entry count of a big-endian directory of two would join the first tag to bytes that look like the
    // tag of JPEGInterchangeFormatLength.
    std::vector<TiffEntry> thumbnail{tiff.longs(kJpegOffset, {kLater}), tiff.longs(kJpegLength, {kLater})};
    if (options.order == ByteOrder::kBig) {
        thumbnail.insert(thumbnail.begin(), tiff.shorts(kCompression, {kJpegCompression}));
    }
    ifd1 = tiff.write_directory(thumbnail);
    ifd2 = tiff.write_directory(
        {tiff.shorts(kImageWidth, {kSmallWidth}), tiff.shorts(kImageLength, {kSmallHeight}),
         tiff.shorts(kBitsPerSample, {16, 16, 16}), tiff.shorts(kCompression, {1}),
         tiff.shorts(kPhotometric, {2}), tiff.longs(kStripOffsets, {kLater}),
         tiff.shorts(kSamplesPerPixel, {3}), tiff.shorts(kRowsPerStrip, {kSmallHeight}),
         tiff.longs(kStripByteCounts, {kLater}), tiff.shorts(kPlanarConfiguration, {1})});
    const auto first_slice = static_cast<std::uint16_t>(options.width / 4 * 2 - 4);
    const auto last_slice = static_cast<std::uint16_t>(options.width - first_slice);
    raw_ifd = tiff.write_directory(
        {tiff.shorts(kCompression, {kJpegCompression}), tiff.longs(kStripOffsets, {kLater}),
         tiff.longs(kStripByteCounts, {kLater}), tiff.shorts(kSlices, {1, first_slice, last_slice})});
    tiff.patch_u32(raw_link, raw_ifd.offset);
    tiff.set_value(ifd0, kExifIfd, exif.offset);
    tiff.set_value(ifd0, kGpsInfo, gps.offset);
    tiff.set_next(ifd0, ifd1.offset);
    tiff.set_next(ifd1, ifd2.offset);
    tiff.set_next(ifd2, raw_ifd.offset);

    const Bytes thumbnail_jpeg = make_preview(scene, 64, 48);
    const Bytes preview_jpeg =
        options.preview.empty() ? make_preview(scene, options.width, options.height) : options.preview;
    const Bytes small = small_picture(scene, options.order);
    const Bytes raw = raw_data(options, first_slice);
    small_size = static_cast<std::uint32_t>(small.size());
    raw_size = static_cast<std::uint32_t>(raw.size());
    thumbnail_offset = tiff.place(ifd1, kJpegOffset, kJpegLength, thumbnail_jpeg);
    preview_offset = tiff.place(ifd0, kStripOffsets, kStripByteCounts, preview_jpeg);
    small_offset = tiff.place(ifd2, kStripOffsets, kStripByteCounts, small);
    raw_offset = tiff.place(raw_ifd, kStripOffsets, kStripByteCounts, raw);
    bytes = tiff.bytes();
}

Bytes blanked(Bytes bytes, const Cr2Photo& photo) {
    bytes = zeroed(std::move(bytes), photo.preview_offset, photo.preview_offset + 30);
    bytes = zeroed(std::move(bytes), photo.thumbnail_offset, photo.thumbnail_offset + 30);
    return zeroed(std::move(bytes), photo.small_offset, photo.small_offset + photo.small_size);
}

Bytes expected_output(const Cr2Photo& sample, const Cr2Photo& original, const Bytes& damaged) {
    return joined(part(blanked(sample.bytes, sample), 0, sample.raw_offset),
                  part(damaged, original.raw_offset, damaged.size()));
}

} // namespace test
