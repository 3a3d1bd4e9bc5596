#include "support/OrfPhoto.h"

#include "support/Jpeg.h"
#include "support/Scene.h"

#include <stdexcept>

namespace test {

namespace {

constexpr unsigned kBits = 12;

/// The words of 32 bits, first sample in the highest bits, each stored least significant byte first.
Bytes pack_samples(const std::vector<std::uint16_t>& samples) {
    Bytes packed;
    std::uint64_t pending = 0;
    unsigned pending_bits = 0;
    for (const std::uint16_t sample : samples) {
        pending = pending << kBits | sample;
        pending_bits += kBits;
        if (pending_bits >= 32) {
            pending_bits -= 32;
            const auto word = static_cast<std::uint32_t>(pending >> pending_bits);
            packed.resize(packed.size() + 4);
            put_u32(packed, packed.size() - 4, word, ByteOrder::kLittle);
        }
    }
    return packed;
}

/// The scene as a JPEG in which the quantisation tables follow the start of image at once.
Bytes make_bare_preview(const Scene& scene, unsigned width, unsigned height) {
    constexpr std::size_t kStartOfImage = 2;
    constexpr std::size_t kJfifSegment = 18; // APP0: marker, and 16 bytes by its length.
    const Bytes jpeg = make_preview(scene, width, height);
    if (get_u16(jpeg, kStartOfImage, ByteOrder::kBig) != 0xFFE0 ||
        get_u16(jpeg, kStartOfImage + 2, ByteOrder::kBig) != kJfifSegment - 2) {
        throw std::runtime_error("a JPEG without the expected JFIF segment");
    }
    return joined(part(jpeg, 0, kStartOfImage), part(jpeg, kStartOfImage + kJfifSegment, jpeg.size()));
}

} // namespace

OrfPhoto make_orf(const OrfOptions& options) {
    const Scene scene(options.scene);
    OrfPhoto photo;
    photo.samples = scene.bayer(options.width, options.height, kBits, 64);
    const Bytes image = pack_samples(photo.samples);
    const Bytes thumbnail = make_bare_preview(scene, 32, 24);
    const Bytes preview = options.preview.empty()
                              ? make_bare_preview(scene, options.preview_width, options.preview_height)
                              : options.preview;
    set_sizes(photo, preview, thumbnail, image);

    TiffWriter file(options.order);
    file.write_header();
    photo.ifd0 = file.write_directory({
        file.longs(256, {options.width}),
        file.longs(257, {options.height}),
        file.shorts(258, {kBits}),
        file.shorts(259, {1}),
        file.shorts(262, {1}),
        file.ascii(270, "OLYMPUS DIGITAL CAMERA"),
        file.ascii(271, "OLYMPUS IMAGING CORP."),
        file.ascii(272, "E-500"),
        file.longs(273, {0}),
        file.shorts(274, {1}),
        file.shorts(277, {1}),
        file.longs(278, {options.height}),
        file.longs(279, {photo.image_size}),
        file.rationals(282, {314, 1}),
        file.rationals(283, {314, 1}),
        file.shorts(284, {1}),
        file.shorts(296, {2}),
        file.ascii(306, "2006:05:14 18:43:10"),
        file.longs(34665, {0}),
    });
    const TiffDirectory exif = file.write_directory({
        file.rationals(33434, {1, 125}),
        file.rationals(33437, {56, 10}),
        file.shorts(34855, {100}),
        file.ascii(36867, "2006:05:14 18:43:10"),
        file.rationals(37386, {14, 1}),
    });
    file.set_value(photo.ifd0, 34665, exif.offset);
    file.pad_to(1024);
    photo.thumbnail = file.append(thumbnail);
    photo.preview = file.append(preview);
    file.pad_to_sector();
    photo.image = file.append(image);
    file.set_value(photo.ifd0, 273, photo.image);

    photo.bytes = file.bytes();
    put_text(photo.bytes, 2, options.order == ByteOrder::kLittle ? "RO" : "OR");
    return photo;
}

} // namespace test
