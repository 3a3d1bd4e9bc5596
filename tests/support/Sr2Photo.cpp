#include "support/Sr2Photo.h"

#include "support/Jpeg.h"
#include "support/Scene.h"

namespace test {

Sr2Photo make_sr2(const Sr2Options& options) {
    const Scene scene(options.scene);
    Sr2Photo photo;
    photo.samples = scene.bayer(options.width, options.height, 14, 512);
    const Bytes image = u16_bytes(photo.samples, options.order);
    const Bytes preview = options.preview.empty()
                              ? make_preview(scene, options.preview_width, options.preview_height)
                              : options.preview;
    const Bytes thumbnail = make_preview(scene, 32, 24);
    set_sizes(photo, preview, thumbnail, image);

    TiffWriter file(options.order);
    file.write_header();
    photo.ifd0 = file.write_directory({
        file.longs(254, {1}),
        file.shorts(259, {6}),
        file.ascii(270, "SONY DSC"),
        file.ascii(271, "SONY"),
        file.ascii(272, "DSC-R1"),
        file.shorts(274, {1}),
        file.rationals(282, {72, 1}),
        file.rationals(283, {72, 1}),
        file.shorts(296, {2}),
        file.ascii(306, "2005:11:20 16:02:31"),
        file.longs(330, {0}),
        file.longs(513, {0}),
        file.longs(514, {photo.preview_size}),
    });
    photo.ifd1 = file.write_directory({
        file.longs(254, {1}),
        file.shorts(259, {6}),
        file.shorts(274, {1}),
        file.rationals(282, {72, 1}),
        file.rationals(283, {72, 1}),
        file.shorts(296, {2}),
        file.longs(513, {0}),
        file.longs(514, {photo.thumbnail_size}),
    });
    photo.sub_ifd = file.write_directory({
        file.longs(254, {0}),
        file.longs(256, {options.width}),
        file.longs(257, {options.height}),
        file.shorts(258, {16}),
        file.shorts(259, {1}),
        file.shorts(262, {32803}),
        file.longs(273, {0}),
        file.shorts(274, {1}),
        file.shorts(277, {1}),
        file.longs(278, {options.height}),
        file.longs(279, {photo.image_size}),
        file.shorts(284, {1}),
        file.shorts(33421, {2, 2}),
        file.byte(33422, {0, 1, 1, 2}),
    });
    file.set_next(photo.ifd0, photo.ifd1.offset);
    file.set_value(photo.ifd0, 330, photo.sub_ifd.offset);
    photo.preview = file.append(preview);
    photo.thumbnail = file.append(thumbnail);
    file.set_value(photo.ifd0, 513, photo.preview);
    file.set_value(photo.ifd1, 513, photo.thumbnail);
    file.pad_to_sector();
    photo.image = file.append(image);
    file.set_value(photo.sub_ifd, 273, photo.image);
    photo.bytes = file.bytes();
    return photo;
}

} // namespace test
