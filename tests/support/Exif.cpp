#include "support/Exif.h"

#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <vector>

namespace test {

namespace {

void add_text(std::vector<TiffEntry>& entries, const TiffWriter& tiff, std::uint16_t tag,
              const std::string& text) {
    if (!text.empty()) {
        entries.push_back(tiff.ascii(tag, text));
    }
}

std::vector<TiffEntry> exif_entries(const TiffWriter& tiff, const ExifFields& fields) {
    std::vector<TiffEntry> entries{tiff.rationals(kExposureTime, {1, fields.exposure}),
                                   tiff.rationals(kFNumber, {fields.aperture, 10}),
                                   tiff.shorts(34855, {fields.iso})};
    add_text(entries, tiff, 36867, fields.taken);
    add_text(entries, tiff, 36868, fields.taken);
    add_text(entries, tiff, 36881, fields.zone);
    entries.push_back(tiff.rationals(37386, {fields.focal_length, 1}));
    add_text(entries, tiff, 37521, fields.fraction);
    add_text(entries, tiff, 42033, fields.serial);
    add_text(entries, tiff, 42036, fields.lens);
    return entries;
}

std::vector<TiffEntry> gps_entries(const TiffWriter& tiff) {
    return {tiff.ascii(1, "N"),
            tiff.rationals(2, {48, 1, 12, 1, 30, 1}),
            tiff.ascii(3, "W"),
            tiff.rationals(4, {16, 1, 22, 1, 1500, 100}),
            tiff.byte(5, {1}),
            tiff.rationals(6, {12, 1}),
            tiff.rationals(7, {10, 1, 30, 1, 0, 1}),
            tiff.ascii(29, "2026:05:01")};
}

} // namespace

Bytes exif_structure(const ExifFields& fields) {
    TiffWriter tiff(fields.order);
    tiff.write_header();
    std::vector<TiffEntry> entries;
    add_text(entries, tiff, kMake, fields.make);
    add_text(entries, tiff, kModel, fields.model);
    entries.push_back(tiff.shorts(kOrientation, {fields.orientation}));
    add_text(entries, tiff, kDateTime, fields.taken);
    add_text(entries, tiff, 315, fields.artist);
    add_text(entries, tiff, 33432, fields.copyright);
    entries.push_back(tiff.longs(kExifIfd, {kLater}));
    if (fields.has_place) {
        entries.push_back(tiff.longs(kGpsInfo, {kLater}));
    }
    const TiffDirectory ifd0 = tiff.write_directory(entries);
    tiff.set_value(ifd0, kExifIfd, tiff.write_directory(exif_entries(tiff, fields)).offset);
    if (fields.has_place) {
        tiff.set_value(ifd0, kGpsInfo, tiff.write_directory(gps_entries(tiff)).offset);
    }
    return tiff.bytes();
}

Bytes with_exif(const Bytes& jpeg, const ExifFields& fields) {
    const Bytes structure = exif_structure(fields);
    constexpr std::size_t kSoi = 2;
    const std::size_t length = 2 + 6 + structure.size(); // Itself, and "Exif" with two NULs.
    Bytes head = part(jpeg, 0, kSoi);
    head = joined(head, {0xFF, 0xE1, static_cast<unsigned char>(length >> 8U),
                         static_cast<unsigned char>(length), 'E', 'x', 'i', 'f', 0, 0});
    return joined(joined(head, structure), part(jpeg, kSoi, jpeg.size()));
}

} // namespace test
