#include "support/SmallPair.h"

#include "support/Cr3Photo.h"
#include "support/TiffWriter.h"

#include <sstream>
#include <utility>

namespace test {

namespace {

constexpr std::uint32_t kLater = 0;  // Patched when the place is known.
constexpr std::uint32_t kImage = 24; // Bytes of image data.

/// A picture that a repair blanks. It is longer than the part of it that is blanked.
Bytes picture() {
    return Bytes(32, 0xAB);
}

/// Image data, without a byte that begins a tag.
Bytes image(unsigned number) {
    Bytes bytes(kImage);
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        bytes[index] = static_cast<unsigned char>(0x60 + 0x40 * number + index);
    }
    return bytes;
}

/// What is between the parts of a photograph; its length differs from one to the next.
Bytes notes(unsigned number) {
    return Bytes(std::size_t{6} * number, 0x20);
}

Bytes small_arw(ByteOrder order, unsigned number) {
    TiffWriter tiff(order);
    tiff.write_header();
    const auto ifd0 =
        tiff.write_directory({tiff.longs(513, {kLater}), tiff.longs(514, {32}), tiff.longs(330, {kLater})});
    tiff.append(notes(number));
    const auto ifd1 = tiff.write_directory({tiff.longs(513, {kLater}), tiff.longs(514, {32})});
    const auto sub_ifd = tiff.write_directory(
        {tiff.longs(273, {kLater}), tiff.shorts(278, {4}), tiff.longs(279, {kImage - number})});
    const auto ifd2 = tiff.write_directory({tiff.longs(513, {kLater}), tiff.longs(514, {32})});
    tiff.set_next(ifd0, ifd1.offset);
    tiff.set_next(ifd1, ifd2.offset);
    tiff.set_value(ifd0, 330, sub_ifd.offset);
    for (const TiffDirectory& ifd : {ifd0, ifd1, ifd2}) {
        tiff.set_value(ifd, 513, tiff.append(picture()));
    }
    tiff.set_value(sub_ifd, 273, tiff.append(image(number)));
    return tiff.bytes();
}

Bytes small_sr2(ByteOrder order, unsigned number) {
    TiffWriter tiff(order);
    tiff.write_header();
    const auto ifd0 =
        tiff.write_directory({tiff.longs(330, {kLater}), tiff.longs(513, {kLater}), tiff.longs(514, {32})});
    tiff.append(notes(number));
    const auto ifd1 = tiff.write_directory({tiff.longs(513, {kLater}), tiff.longs(514, {32})});
    const auto sub_ifd =
        tiff.write_directory({tiff.longs(273, {kLater}), tiff.shorts(274, {1}), tiff.shorts(277, {1}),
                              tiff.shorts(278, {4}), tiff.longs(279, {kImage - number})});
    tiff.set_next(ifd0, ifd1.offset);
    tiff.set_value(ifd0, 330, sub_ifd.offset);
    tiff.set_value(ifd0, 513, tiff.append(picture()));
    tiff.set_value(ifd1, 513, tiff.append(picture()));
    tiff.set_value(sub_ifd, 273, tiff.append(image(number)));
    return tiff.bytes();
}

Bytes small_raf(unsigned number) {
    constexpr std::uint32_t kThumbnail = 100; // So long that the first header is out of the raw tags' reach.
    TiffWriter exif(ByteOrder::kLittle);
    exif.write_header();
    const auto ifd0 = exif.write_directory({exif.shorts(274, {1})});
    exif.append(notes(number));
    const auto ifd1 = exif.write_directory({exif.longs(513, {kLater}), exif.longs(514, {kThumbnail})});
    exif.set_next(ifd0, ifd1.offset);
    exif.set_value(ifd1, 513, exif.append(Bytes(kThumbnail, 0xAB)));

    TiffWriter raw(ByteOrder::kLittle);
    raw.write_header();
    const auto raw_ifd =
        raw.write_directory({raw.longs(0xF007, {kLater}), raw.longs(0xF008, {kImage - number})});
    raw.set_value(raw_ifd, 0xF007, raw.append(image(number)));

    Bytes bytes(8);
    put_text(bytes, 0, "FUJIFILM");
    bytes = joined(std::move(bytes), exif.bytes());
    const std::string_view packet = "xpacket end";
    bytes.insert(bytes.end(), packet.begin(), packet.end());
    bytes = joined(std::move(bytes), {0xFF, 0xC4, 0, 6, 1, 2, 3, 4, 0xFF, 0xDB, 0, 2});
    return joined(std::move(bytes), raw.bytes());
}

Bytes small_orf(ByteOrder order, unsigned number) {
    TiffWriter tiff(order);
    tiff.write_header();
    const auto ifd0 =
        tiff.write_directory({tiff.longs(273, {kLater}), tiff.shorts(274, {1}), tiff.shorts(277, {1}),
                              tiff.shorts(278, {4}), tiff.longs(279, {kImage - number})});
    tiff.append(notes(number));
    tiff.append({0xFF, 0xD8, 0xFF, 0xDB});
    tiff.append(picture());
    tiff.set_value(ifd0, 273, tiff.append(image(number)));
    Bytes bytes = tiff.bytes();
    put_text(bytes, 2, order == ByteOrder::kLittle ? "RO" : "OR");
    return bytes;
}

Bytes small_dng(ByteOrder order, unsigned number) {
    constexpr std::uint32_t kTile = kImage / 2;
    TiffWriter tiff(order);
    tiff.write_header();
    const auto ifd0 = tiff.write_directory({tiff.longs(273, {kLater}), tiff.longs(330, {kLater, kLater})});
    tiff.append(notes(number));
    const auto preview_ifd = tiff.write_directory({tiff.longs(254, {1}), tiff.longs(273, {kLater})});
    // The lists are after their directory.
    const auto main_ifd = tiff.write_directory({tiff.longs(254, {0}), tiff.longs(324, {kLater, kLater}),
                                                tiff.longs(325, {kTile - number, kTile + number})});
    const std::uint32_t sub_ifds = get_u32(tiff.bytes(), ifd0.value(330), order);
    tiff.patch_u32(sub_ifds, preview_ifd.offset);
    tiff.patch_u32(sub_ifds + 4, main_ifd.offset);
    tiff.set_value(ifd0, 273, tiff.append(picture()));
    tiff.set_value(preview_ifd, 273, tiff.append(picture()));
    const std::uint32_t tiles = tiff.append(image(number));
    const std::uint32_t offsets = get_u32(tiff.bytes(), main_ifd.value(324), order);
    tiff.patch_u32(offsets, tiles);
    tiff.patch_u32(offsets + 4, tiles + kTile - number);
    return tiff.bytes();
}

Bytes small_cr2(ByteOrder order, unsigned number) {
    TiffWriter tiff(order);
    tiff.write_header(16);
    tiff.append({'C', 'R', 2, 0, 0, 0, 0, 0});
    const auto ifd0 = tiff.write_directory({tiff.longs(273, {kLater}), tiff.longs(0x8825, {8})});
    tiff.append(notes(number));
    const auto ifd1 =
        tiff.write_directory({tiff.shorts(259, {6}), tiff.longs(513, {kLater}), tiff.longs(514, {32})});
    const auto ifd2 =
        tiff.write_directory({tiff.longs(273, {kLater}), tiff.shorts(278, {4}), tiff.longs(279, {32})});
    const auto raw_ifd = tiff.write_directory({tiff.longs(273, {kLater}), tiff.longs(279, {kImage})});
    tiff.set_next(ifd0, ifd1.offset);
    tiff.set_next(ifd1, ifd2.offset);
    tiff.set_next(ifd2, raw_ifd.offset);
    tiff.patch_u32(12, raw_ifd.offset);
    tiff.set_value(ifd0, 273, tiff.append(picture()));
    tiff.set_value(ifd1, 513, tiff.append(picture()));
    tiff.set_value(ifd2, 273, tiff.append(picture()));
    tiff.set_value(raw_ifd, 273, tiff.append(image(number)));
    return tiff.bytes();
}

Bytes small_nef(ByteOrder order, unsigned number) {
    TiffWriter tiff(order);
    tiff.write_header();
    const auto ifd0 = tiff.write_directory(
        {tiff.longs(273, {kLater}), tiff.longs(279, {32}), tiff.longs(330, {kLater, kLater})});
    tiff.append(notes(number));
    const auto preview_ifd = tiff.write_directory({tiff.longs(254, {1}), tiff.longs(513, {kLater})});
    const auto raw_ifd = tiff.write_directory({tiff.longs(254, {0}), tiff.longs(273, {kLater})});
    const std::uint32_t sub_ifds = get_u32(tiff.bytes(), ifd0.value(330), order);
    tiff.patch_u32(sub_ifds, preview_ifd.offset);
    tiff.patch_u32(sub_ifds + 4, raw_ifd.offset);
    tiff.set_value(ifd0, 273, tiff.append(picture()));
    tiff.set_value(preview_ifd, 513, tiff.append(picture()));
    tiff.set_value(raw_ifd, 273, tiff.append(image(number)));
    return tiff.bytes();
}

Cr3Photo small_cr3(unsigned number) {
    return Cr3Photo({.number = number,
                     .maker_notes = std::size_t{4} * number,
                     .thumbnail = 33,
                     .preview = 32,
                     .tracks = {20 + number, 8, 22 - number, 6},
                     .gaps = {number, 0, 3, 0},
                     .after_tracks = 1,
                     .large_mdat = number == 1});
}

SmallPair pair_of(std::string name, std::string_view extension, Bytes sample, const Bytes& damaged,
                  Bytes image) {
    return {std::move(name), extension, std::move(sample), zeroed(damaged, 0, 8), std::move(image)};
}

std::vector<SmallPair> make_pairs() {
    struct Maker {
        std::string_view extension;
        Bytes (*make)(ByteOrder order, unsigned number);
    };
    std::vector<SmallPair> pairs;
    for (const Maker& maker : {Maker{"arw", small_arw}, Maker{"sr2", small_sr2}, Maker{"orf", small_orf},
                               Maker{"dng", small_dng}, Maker{"cr2", small_cr2}, Maker{"nef", small_nef}}) {
        for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
            std::ostringstream name;
            name << maker.extension << '_' << order;
            pairs.push_back(
                pair_of(name.str(), maker.extension, maker.make(order, 1), maker.make(order, 2), image(2)));
        }
    }
    pairs.push_back(pair_of("raf", "raf", small_raf(1), small_raf(2), part(image(2), 0, kImage - 2)));
    pairs.push_back(pair_of("cr3", "cr3", small_cr3(1).bytes, small_cr3(2).bytes, small_cr3(2).track(3)));
    return pairs;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const SmallPair& pair) {
    return stream << pair.name;
}

const std::vector<SmallPair>& small_pairs() {
    static const std::vector<SmallPair> pairs = make_pairs();
    return pairs;
}

} // namespace test
