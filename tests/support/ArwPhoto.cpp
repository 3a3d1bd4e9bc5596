#include "support/ArwPhoto.h"

#include "support/Jpeg.h"
#include "support/Scene.h"

namespace test {

namespace {

// Tags of TIFF 6.0 and of Sony's Sub IFD.
enum Tag : std::uint16_t {
    kNewSubfileType = 254,
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
    kRowsPerStrip = 278,
    kStripByteCounts = 279,
    kXResolution = 282,
    kYResolution = 283,
    kSoftware = 305,
    kDateTime = 306,
    kSubIfds = 330,
    kJpegOffset = 513,
    kJpegLength = 514,
    kCfaPatternDim = 33421,
    kCfaPattern = 33422,
};

constexpr std::uint32_t kLater = 0;       // Patched when the place is known.
constexpr std::uint16_t kSonyRaw = 32767; // Sony's own compression number.
constexpr std::uint16_t kCfa = 32803;     // A colour filter array.
constexpr std::size_t kAlignment = 512;   // The image begins on a sector.

} // namespace

ArwPhoto::ArwPhoto(const Options& options) {
    const Scene scene(options.number);
    TiffWriter tiff(options.order);
    tiff.write_header();
    const auto directory_with_preview = [&](std::vector<TiffEntry> more) {
        std::vector<TiffEntry> entries{tiff.longs(kNewSubfileType, {1}),
                                       tiff.shorts(kCompression, {6}),
                                       tiff.ascii(kDescription, "a lake in the evening"),
                                       tiff.ascii(kMake, "SONY"),
                                       tiff.ascii(kModel, "DSLR-A330"),
                                       tiff.shorts(kOrientation, {1}),
                                       tiff.rationals(kXResolution, {72, 1}),
                                       tiff.rationals(kYResolution, {72, 1}),
                                       tiff.ascii(kSoftware, "DSLR-A330 v1.00"),
                                       tiff.ascii(kDateTime, "2026:11:21 17:40:00")};
        entries.insert(entries.end(), more.begin(), more.end());
        entries.push_back(tiff.longs(kJpegOffset, {kLater}));
        entries.push_back(tiff.longs(kJpegLength, {kLater}));
        return tiff.write_directory(entries);
    };

    ifd0 = directory_with_preview({tiff.longs(kSubIfds, {kLater})});
    tiff.append(Bytes(options.maker_notes, 0x20));
    ifd1 = directory_with_preview({});
    sub_ifd = tiff.write_directory({tiff.longs(kNewSubfileType, {0}),
                                    tiff.shorts(kImageWidth, {static_cast<std::uint16_t>(options.width)}),
                                    tiff.shorts(kImageLength, {static_cast<std::uint16_t>(options.height)}),
                                    tiff.shorts(kBitsPerSample, {14}), tiff.shorts(kCompression, {kSonyRaw}),
                                    tiff.shorts(kPhotometric, {kCfa}), tiff.shorts(kCfaPatternDim, {2, 2}),
                                    tiff.byte(kCfaPattern, {0, 1, 1, 2}), tiff.longs(kStripOffsets, {kLater}),
                                    tiff.shorts(kRowsPerStrip, {static_cast<std::uint16_t>(options.height)}),
                                    tiff.longs(kStripByteCounts, {kLater})});
    ifd2 = directory_with_preview({});
    strip_entries = sub_ifd.entry(kStripOffsets);
    tiff.set_value(ifd0, kSubIfds, sub_ifd.offset);
    tiff.set_next(ifd0, ifd1.offset);
    tiff.set_next(ifd1, ifd2.offset);

    unsigned preview_width = options.width; // Preview, thumbnail, and a second preview.
    for (const TiffDirectory& ifd : {ifd0, ifd1, ifd2}) {
        const bool given = preview_offsets.empty() && !options.preview.empty();
        const Bytes jpeg =
            given ? options.preview : make_preview(scene, preview_width, preview_width * 3 / 4);
        preview_offsets.push_back(tiff.append(jpeg));
        tiff.set_value(ifd, kJpegOffset, preview_offsets.back());
        tiff.set_value(ifd, kJpegLength, static_cast<std::uint32_t>(jpeg.size()));
        preview_width = preview_width / 2 + 16;
    }

    tiff.pad_to((tiff.offset() + kAlignment - 1) / kAlignment * kAlignment);
    const auto samples = scene.bayer(options.width, options.height, 14);
    Bytes image(2 * samples.size());
    for (std::size_t index = 0; index < samples.size(); ++index) {
        put_u16(image, 2 * index, samples[index], options.order);
    }
    image_size = static_cast<std::uint32_t>(image.size());
    image_offset = tiff.append(image);
    tiff.set_value(sub_ifd, kStripOffsets, image_offset);
    tiff.set_value(sub_ifd, kStripByteCounts, image_size);
    bytes = tiff.bytes();
}

Bytes blanked(Bytes bytes, const ArwPhoto& photo) {
    for (const std::uint32_t preview : photo.preview_offsets) {
        bytes = zeroed(bytes, preview, preview + 30);
    }
    return bytes;
}

Bytes expected_output(const ArwPhoto& sample, const ArwPhoto& original, const Bytes& damaged) {
    constexpr std::uint32_t kByteCount = 24 + 8; // Behind the start of the three entries.
    Bytes head = part(blanked(sample.bytes, sample), 0, sample.image_offset);
    const std::uint32_t byte_count = original.strip_entries + kByteCount;
    put_bytes(head, sample.strip_entries + kByteCount, part(original.bytes, byte_count, byte_count + 4));
    return joined(head, part(damaged, original.image_offset, damaged.size()));
}

} // namespace test
