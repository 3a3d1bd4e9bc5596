#include "support/Cr2Photo.h"

#include "support/Jpeg.h"
#include "support/Scene.h"

#include <cmath>
#include <utility>

namespace test {

namespace {

// Tags of TIFF 6.0, Exif and of Canon's directories.
enum Tag : std::uint16_t {
    kImageWidth = 256,
    kImageLength = 257,
    kBitsPerSample = 258,
    kCompression = 259,
    kPhotometric = 262,
    kDescription = 270,
    kMake = 271,
    kModel = 272,
    kStripOffsets = 273,
    kOrientation = 274,
    kSamplesPerPixel = 277,
    kRowsPerStrip = 278,
    kStripByteCounts = 279,
    kXResolution = 282,
    kYResolution = 283,
    kPlanarConfiguration = 284,
    kResolutionUnit = 296,
    kDateTime = 306,
    kJpegOffset = 513,
    kJpegLength = 514,
    kExposureTime = 33434,
    kFNumber = 33437,
    kExifIfd = 34665,
    kGpsInfo = 34853,
    kExifVersion = 36864,
    kMakerNote = 37500,
    kSlices = 50752, // Their number less one, the width of all but the last, the width of the last.
};

constexpr std::uint32_t kLater = 0; // Patched when the place is known.
constexpr std::uint16_t kJpegCompression = 6;
constexpr unsigned kBits = 14;
constexpr unsigned kSmallWidth = 24;
constexpr unsigned kSmallHeight = 18;

/// Bits of an entropy-coded segment, high bit first, with a 0 stuffed behind each FF.
class BitWriter {
  public:
    void put(std::uint32_t value, unsigned count) {
        for (unsigned bit = count; bit-- > 0;) {
            byte_ = byte_ << 1U | (value >> bit & 1U);
            if (++filled_ == 8) {
                push();
            }
        }
    }

    [[nodiscard]] Bytes finish() {
        while (filled_ != 0) {
            put(1, 1);
        }
        return bytes_;
    }

  private:
    void push() {
        bytes_.push_back(static_cast<unsigned char>(byte_));
        if (byte_ == 0xFF) {
            bytes_.push_back(0);
        }
        byte_ = 0;
        filled_ = 0;
    }

    Bytes bytes_;
    std::uint32_t byte_ = 0; ///< The low filled_ bits are those of the next byte.
    unsigned filled_ = 0;
};

/// The code of a difference: its category in four bits, since the Huffman table holds fifteen codes of that
/// length, then as many bits as the category says.
void put_difference(BitWriter& bits, int difference) {
    const auto size = static_cast<unsigned>(std::abs(difference));
    unsigned category = 0;
    while (size >> category != 0) {
        ++category;
    }
    bits.put(category, 4);
    const int coded = difference < 0 ? difference + (1 << category) - 1 : difference;
    bits.put(static_cast<std::uint32_t>(coded), category);
}

/// The rows of the sensor as the camera stores them: slice behind slice, each row by row.
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
    const auto pixels = scene.rgb8(kSmallWidth, kSmallHeight);
    Bytes picture(2 * pixels.size());
    for (std::size_t index = 0; index < pixels.size(); ++index) {
        put_u16(picture, 2 * index, static_cast<std::uint16_t>(pixels[index] * 64), order);
    }
    return picture;
}

} // namespace

Bytes make_lossless_jpeg(const std::vector<std::uint16_t>& samples, unsigned columns, unsigned rows,
                         unsigned bits) {
    Bytes jpeg{0xFF, 0xD8,                          // SOI
               0xFF, 0xC4, 0,  34, 0x00,            // DHT, table 0:
               0,    0,    0,  15, 0,    0,  0,  0, // fifteen codes of four bits,
               0,    0,    0,  0,  0,    0,  0,  0, //
               0,    1,    2,  3,  4,    5,  6,  7, // for the categories 0 to 14.
               8,    9,    10, 11, 12,   13, 14,    //
               0xFF, 0xC3, 0,  14, 0,    0,  0,  0, 0, 2, 1, 0x11, 0, 2, 0x11, 0, // SOF3, two components
               0xFF, 0xDA, 0,  10, 2,    1,  0,  2, 0, 1, 0, 0};                  // SOS, predictor 1
    const std::size_t frame = jpeg.size() - 12 - 16;
    jpeg.at(frame + 4) = static_cast<unsigned char>(bits);
    put_u16(jpeg, frame + 5, static_cast<std::uint16_t>(rows), ByteOrder::kBig);
    put_u16(jpeg, frame + 7, static_cast<std::uint16_t>(columns), ByteOrder::kBig);

    BitWriter writer;
    const std::size_t row_length = 2 * std::size_t{columns};
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t index = 0; index < row_length; ++index) {
            const std::size_t at = row * row_length + index;
            int predicted = 1 << (bits - 1); // The sample to the left; at the edge the one above.
            if (index >= 2) {
                predicted = samples.at(at - 2);
            } else if (row > 0) {
                predicted = samples.at(at - row_length);
            }
            put_difference(writer, samples.at(at) - predicted);
        }
    }
    return joined(joined(jpeg, writer.finish()), {0xFF, 0xD9}); // EOI
}

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

    const auto place = [&](const TiffDirectory& ifd, Tag offset_tag, Tag size_tag, const Bytes& picture) {
        const std::uint32_t offset = tiff.append(picture);
        tiff.set_value(ifd, offset_tag, offset);
        tiff.set_value(ifd, size_tag, static_cast<std::uint32_t>(picture.size()));
        return offset;
    };
    const Bytes thumbnail_jpeg = make_preview(scene, 64, 48);
    const Bytes preview_jpeg =
        options.preview.empty() ? make_preview(scene, options.width, options.height) : options.preview;
    const Bytes small = small_picture(scene, options.order);
    const Bytes raw = make_lossless_jpeg(in_slices(scene.bayer(options.width, options.height, kBits, 1024),
                                                   options.width, options.height, first_slice),
                                         options.width / 2, options.height, kBits);
    small_size = static_cast<std::uint32_t>(small.size());
    raw_size = static_cast<std::uint32_t>(raw.size());
    thumbnail_offset = place(ifd1, kJpegOffset, kJpegLength, thumbnail_jpeg);
    preview_offset = place(ifd0, kStripOffsets, kStripByteCounts, preview_jpeg);
    small_offset = place(ifd2, kStripOffsets, kStripByteCounts, small);
    raw_offset = place(raw_ifd, kStripOffsets, kStripByteCounts, raw);
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
