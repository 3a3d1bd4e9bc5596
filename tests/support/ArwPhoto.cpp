#include "support/ArwPhoto.h"

#include "support/Jpeg.h"
#include "support/Scene.h"
#include "support/TiffTags.h"

namespace test {

namespace {

constexpr std::uint16_t kSonyRaw = 32767; // Sony's own compression number.

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
                                       tiff.ascii(kDateTime, options.date)};
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
        preview_offsets.push_back(tiff.place(ifd, kJpegOffset, kJpegLength, jpeg));
        preview_width = preview_width / 2 + 16;
    }

    tiff.pad_to_sector();
    const Bytes image = u16_bytes(scene.bayer(options.width, options.height, 14), options.order);
    image_size = static_cast<std::uint32_t>(image.size());
    image_offset = tiff.place(sub_ifd, kStripOffsets, kStripByteCounts, image);
    bytes = tiff.bytes();
}

Bytes blanked(Bytes bytes, const ArwPhoto& photo) {
    for (const std::uint32_t preview : photo.preview_offsets) {
        bytes = zeroed(bytes, preview, preview + 30);
    }
    return bytes;
}

Bytes expected_output(const ArwPhoto& sample, const ArwPhoto& original, const Bytes& damaged) {
    constexpr std::uint32_t kByteCount = 24 + 8; // After the start of the three entries.
    Bytes head = part(blanked(sample.bytes, sample), 0, sample.image_offset);
    const std::uint32_t byte_count = original.strip_entries + kByteCount;
    put_bytes(head, sample.strip_entries + kByteCount, part(original.bytes, byte_count, byte_count + 4));
    return joined(head, part(damaged, original.image_offset, damaged.size()));
}

} // namespace test
