#include "support/RafPhoto.h"

#include "support/Jpeg.h"
#include "support/Scene.h"
#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace test {

namespace {

using namespace std::string_view_literals;

// Tags of the raw section.
enum RawTag : std::uint16_t {
    kRawIfd = 0xF000,
    kRawWidth = 0xF001,
    kRawHeight = 0xF002,
    kRawBits = 0xF003,
    kRawUnknown4 = 0xF004,
    kRawUnknown5 = 0xF005,
    kRawPacking = 0xF006,
    kRawOffset = 0xF007,
    kRawLength = 0xF008,
};

// The file's own header, numbers high byte first:
//
//   0   "FUJIFILMCCD-RAW ", "0201", serial of the camera
//   28  model, 32 bytes
//   60  version of the table that follows
//   84  offset and length of the JPEG, of the geometry table, of the raw section
constexpr std::size_t kHeaderSize = 148;
constexpr std::size_t kModelField = 28;
constexpr std::size_t kVersionField = 60;
constexpr std::size_t kOffsetsField = 84;

constexpr std::string_view kMakeText = "FUJIFILM";
constexpr std::string_view kModelText = "X-A1";
constexpr std::string_view kXmp = "http://ns.adobe.com/xap/1.0/\0"
                                  "<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d'?>"
                                  "<x:xmpmeta xmlns:x='adobe:ns:meta/'/><?xpacket end='w'?>"sv;
constexpr std::string_view kXpacketEnd = "xpacket end";
constexpr std::size_t kExifPrefix = 10; // Marker, length, "Exif" and two zeros before the TIFF header.
constexpr std::size_t kAlignment = 512; // The raw section and the raw data begin on a sector.

constexpr unsigned char kSof0 = 0xC0;
constexpr unsigned char kDht = 0xC4;
constexpr unsigned char kSos = 0xDA;
constexpr unsigned char kDqt = 0xDB;
constexpr unsigned char kApp1 = 0xE1;

Bytes text_bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

std::size_t aligned(std::size_t offset) {
    return (offset + kAlignment - 1) / kAlignment * kAlignment;
}

/// A JPEG segment: marker, length, payload.
Bytes segment(unsigned char marker, const Bytes& payload) {
    Bytes bytes{0xFF, marker, 0, 0};
    put_u16(bytes, 2, static_cast<std::uint16_t>(payload.size() + 2), ByteOrder::kBig);
    return joined(bytes, payload);
}

/// All segments of one kind in a JPEG, joined; the scan comes with what follows it.
Bytes segments(const Bytes& jpeg, unsigned char wanted) {
    Bytes found;
    for (std::size_t at = 2; at + 4 <= jpeg.size();) {
        const unsigned char marker = jpeg[at + 1];
        const std::size_t end =
            marker == kSos ? jpeg.size() : at + 2 + get_u16(jpeg, at + 2, ByteOrder::kBig);
        if (marker == wanted) {
            found = joined(found, part(jpeg, at, end));
        }
        at = end;
    }
    return found;
}

/// The offset of a text that is there.
std::uint32_t offset_of(const Bytes& bytes, std::string_view text) {
    const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::size_t at = all.find(text);
    if (at == std::string_view::npos) {
        throw std::out_of_range("RafPhoto: text");
    }
    return static_cast<std::uint32_t>(at);
}

} // namespace

RafPhoto::RafPhoto(const Options& options) {
    const Scene scene(options.number);
    const auto add = [this](const Bytes& more) {
        const auto at = static_cast<std::uint32_t>(bytes.size());
        bytes = joined(bytes, more);
        return at;
    };
    const auto put_header_offset = [this](std::size_t index, std::uint32_t offset, std::size_t length) {
        put_u32(bytes, kOffsetsField + 8 * index, offset, ByteOrder::kBig);
        put_u32(bytes, kOffsetsField + 8 * index + 4, static_cast<std::uint32_t>(length), ByteOrder::kBig);
    };

    bytes = Bytes(kHeaderSize);
    put_text(bytes, 0, "FUJIFILMCCD-RAW 0201FF129502");
    put_text(bytes, kModelField, kModelText);
    put_text(bytes, kVersionField, "0100");

    // Exif.
    TiffWriter exif(ByteOrder::kLittle);
    exif.write_header();
    const TiffDirectory exif_ifd0 = exif.write_directory(
        {exif.ascii(kMake, kMakeText), exif.ascii(kModel, kModelText), exif.shorts(kOrientation, {1}),
         exif.rationals(kXResolution, {72, 1}), exif.rationals(kYResolution, {72, 1}),
         exif.ascii(kSoftware, "Digital Camera X-A1 Ver1.00"), exif.ascii(kDateTime, "2026:11:21 17:40:00"),
         exif.longs(kExifIfd, {kLater})});
    const TiffDirectory exif_sub_ifd =
        exif.write_directory({exif.rationals(kExposureTime, {1, 125}), exif.shorts(kIso, {200})});
    exif.set_value(exif_ifd0, kExifIfd, exif_sub_ifd.offset);
    exif.append(Bytes(options.maker_notes, 0x20));
    const TiffDirectory exif_ifd1 =
        exif.write_directory({exif.shorts(kCompression, {6}), exif.rationals(kXResolution, {72, 1}),
                              exif.rationals(kYResolution, {72, 1}), exif.longs(kJpegOffset, {kLater}),
                              exif.longs(kJpegLength, {kLater})});
    exif.set_next(exif_ifd0, exif_ifd1.offset);
    const Bytes thumbnail = make_preview(scene, 80, 60);
    const std::uint32_t thumb_in_exif = exif.place(exif_ifd1, kJpegOffset, kJpegLength, thumbnail);

    // The JPEG.
    const Bytes picture = make_preview(scene, options.width, options.height);
    jpeg = add({0xFF, 0xD8});
    first_header = static_cast<std::uint32_t>(
        add(segment(kApp1, joined({'E', 'x', 'i', 'f', 0, 0}, exif.bytes()))) + kExifPrefix);
    ifd0_next_link = first_header + exif_ifd0.next_link;
    ifd1 = first_header + exif_ifd1.offset;
    thumb_offset_entry = first_header + exif_ifd1.entry(kJpegOffset);
    thumb_size_entry = first_header + exif_ifd1.entry(kJpegLength);
    thumb = first_header + thumb_in_exif;
    thumb_size = static_cast<std::uint32_t>(thumbnail.size());
    add(segment(kApp1, text_bytes(kXmp)));
    xpacket_end = offset_of(bytes, kXpacketEnd);
    if (options.picture.empty()) {
        dht = add(segments(picture, kDht));
        dqt = add(segments(picture, kDqt));
        add(segments(picture, kSof0));
        add(segments(picture, kSos));
    } else {
        add(part(options.picture, 2, options.picture.size()));
    }
    jpeg_end = static_cast<std::uint32_t>(bytes.size());
    put_header_offset(0, jpeg, jpeg_end - jpeg);

    // The geometry: a count, then tag, length and value; numbers high byte first.
    const auto height = static_cast<std::uint16_t>(options.height);
    const auto width = static_cast<std::uint16_t>(options.width);
    Bytes geometry{0,    0,    0, 3,                  //
                   0x01, 0x00, 0, 4, 0,  0,  0,  0,   // Height and width of the sensor area,
                   0x01, 0x21, 0, 4, 0,  0,  0,  0,   // and of the picture.
                   0x01, 0x30, 0, 4, 12, 12, 12, 12}; // A filter of rows and columns, not a turned one.
    for (const std::size_t size : {8U, 16U}) {
        put_u16(geometry, size, height, ByteOrder::kBig);
        put_u16(geometry, size + 2, width, ByteOrder::kBig);
    }
    put_header_offset(1, add(geometry), geometry.size());

    // The raw section. IFD 0 leads to a directory at 26, whose seventh entry is at 100.
    const Bytes image = u16_bytes(scene.bayer(options.width, options.height, 14), ByteOrder::kLittle);
    image_size = static_cast<std::uint32_t>(image.size());
    TiffWriter raw(ByteOrder::kLittle);
    raw.write_header();
    const TiffDirectory raw_ifd0 = raw.write_directory({raw.longs(kRawIfd, {kLater})});
    const TiffDirectory raw_ifd = raw.write_directory(
        {raw.longs(kRawWidth, {options.width}), raw.longs(kRawHeight, {options.height}),
         raw.longs(kRawBits, {14}), raw.longs(kRawUnknown4, {0}), raw.longs(kRawUnknown5, {0}),
         raw.longs(kRawPacking, {0}), raw.longs(kRawOffset, {kLater}), raw.longs(kRawLength, {image_size})});
    raw.set_value(raw_ifd0, kRawIfd, raw_ifd.offset);
    raw.pad_to(aligned(raw.offset()));
    const std::uint32_t image_in_raw = raw.append(image);
    raw.set_value(raw_ifd, kRawOffset, image_in_raw);

    bytes.resize(aligned(bytes.size()));
    second_header = add(raw.bytes());
    strip_offsets_entry = second_header + raw_ifd.entry(kRawOffset);
    strip_byte_counts_entry = second_header + raw_ifd.entry(kRawLength);
    image_offset = second_header + image_in_raw;
    put_header_offset(2, second_header, raw.bytes().size());
}

Bytes blanked(Bytes bytes, const RafPhoto& photo) {
    bytes = zeroed(std::move(bytes), photo.thumb, photo.thumb + photo.thumb_size);
    return zeroed(std::move(bytes), photo.dht, photo.dqt + 2);
}

Bytes expected_output(const RafPhoto& sample, std::uint32_t length, const Bytes& raw_data) {
    Bytes head = part(blanked(sample.bytes, sample), 0, sample.image_offset);
    put_u32(head, sample.strip_byte_counts_entry + 8, length, ByteOrder::kLittle);
    return joined(head, raw_data);
}

Bytes expected_output(const RafPhoto& sample, const RafPhoto& original, const Bytes& damaged) {
    return expected_output(sample, original.image_size, part(damaged, original.image_offset, damaged.size()));
}

} // namespace test
