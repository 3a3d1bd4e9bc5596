#include "facts/StructureReader.h"

#include "facts/JpegHead.h"

#include <byte_reader/ByteReader.h>
#include <byte_reader/TiffTypes.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <string_view>
#include <utility>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;
using byte_reader::size_of_tiff_type;

constexpr std::size_t kMostDirectoriesRead = 48;
constexpr std::size_t kMostJpegHeads = 16;
constexpr std::uint32_t kMostEntries = 512; ///< Of a directory.
constexpr std::uint32_t kMostSubDirectories = 16;
constexpr std::size_t kBytesPerEntry = 12;
constexpr std::uint32_t kLongestAscii = 128;

enum Type : std::uint16_t { kAscii = 2, kShort = 3 };

bool is_jpeg_compression(std::uint32_t compression) {
    return compression == 6 || compression == 7 || compression == 34892;
}

} // namespace

struct StructureReader::Entry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::uint32_t number = 0; ///< The value field: an offset if the values do not fit in.
    std::uint32_t value = 0;  ///< The first number in the value field.
    std::uint64_t values = 0; ///< Offset of the values in the file.
};

/// What a directory says of a picture.
struct StructureReader::Picture {
    ImageCoding coding;
    std::uint32_t data = 0; ///< Offset of the first strip or tile.
    std::uint32_t jpeg = 0;
};

bool StructureReader::add_tiff(std::uint64_t header) {
    return add_tiff(header, Role::kMain);
}

void StructureReader::add_canon_notes(std::uint64_t header) {
    add_tiff(header, Role::kCanonNote);
}

bool StructureReader::add_tiff(std::uint64_t header, Role role) {
    const std::endian order = file_.has(header, "II") ? std::endian::little : std::endian::big;
    const std::uint16_t magic = file_.u16(header + 2, order).value_or(0);
    const bool is_little = order == std::endian::little;
    const bool is_tiff = magic == 42 || (is_little && magic == 0x55) || file_.has(header, "IIRO") ||
                         file_.has(header, "IIRS") || file_.has(header, "MMOR");
    if (!is_tiff || (!is_little && !file_.has(header, "MM"))) {
        return false;
    }
    const std::size_t before = directories_.size();
    pointers_.push_back({header + file_.u32(header + 4, order).value_or(0), header, order, role});
    while (!pointers_.empty()) {
        const Pointer next = pointers_.back();
        pointers_.pop_back();
        read_directory(next, entries_at(next));
    }
    return directories_.size() != before;
}

std::vector<StructureReader::Entry> StructureReader::entries_at(const Pointer& directory) {
    const std::uint32_t count = file_.u16(directory.offset, directory.order).value_or(0);
    if (count == 0 || count > kMostEntries || directories_.size() >= kMostDirectoriesRead) {
        return {};
    }
    const auto bytes = file_.bytes(directory.offset + 2, count * kBytesPerEntry);
    const ByteReader reader(bytes, directory.order);
    std::vector<Entry> entries;
    for (std::uint64_t at = 0; reader.holds(at, kBytesPerEntry); at += kBytesPerEntry) {
        Entry entry{.tag = *reader.u16(at),
                    .type = *reader.u16(at + 2),
                    .count = *reader.u32(at + 4),
                    .number = *reader.u32(at + 8)};
        const std::uint64_t length = std::uint64_t{entry.count} * size_of_tiff_type(entry.type);
        if (length == 0 && at < 3 * kBytesPerEntry) {
            return {}; // No directory.
        }
        entry.value = entry.type == kShort ? *reader.u16(at + 8) : entry.number;
        entry.values = length <= 4 ? directory.offset + 2 + at + 8 : directory.base + entry.number;
        entries.push_back(entry);
    }
    return entries.empty() || !directories_.insert(directory.offset).second ? std::vector<Entry>{} : entries;
}

std::string StructureReader::text_of(const Entry& entry) {
    return entry.type == kAscii ? trimmed_text(file_.text(entry.values, std::min(entry.count, kLongestAscii)))
                                : "";
}

std::uint32_t StructureReader::first_of(const Entry& entry, const Pointer& directory) {
    if (entry.type == kShort) {
        return entry.count <= 2 ? entry.value : file_.u16(entry.values, directory.order).value_or(0);
    }
    return entry.count == 1 ? entry.value : file_.u32(entry.values, directory.order).value_or(0);
}

void StructureReader::read_directory(const Pointer& directory, const std::vector<Entry>& entries) {
    Picture picture;
    for (const Entry& entry : entries) {
        switch (directory.role) {
        case Role::kMain:
            read_main(entry, directory, picture);
            break;
        case Role::kExif:
            if (entry.tag == 37500) { // MakerNote.
                add_maker_note(entry.values, directory);
            }
            break;
        default:
            read_note_entry(entry, directory);
            break;
        }
    }
    add_picture(picture, directory);
    if (directory.role == Role::kMain && !entries.empty()) {
        const std::uint64_t link = directory.offset + 2 + entries.size() * kBytesPerEntry;
        if (const auto next = file_.u32(link, directory.order); next && *next != 0) {
            pointers_.push_back({directory.base + *next, directory.base, directory.order, Role::kMain});
        }
    }
}

void StructureReader::read_main(const Entry& entry, const Pointer& directory, Picture& picture) {
    const auto add_text = [&](std::set<std::string>& texts) {
        if (std::string text = text_of(entry); !text.empty()) {
            add_fact(texts, text);
        }
    };
    switch (entry.tag) {
    case 46: // RW2: a JPEG as a value.
        picture.jpeg = entry.number;
        break;
    case 256:
        picture.coding.width = entry.value;
        break;
    case 257:
        picture.coding.height = entry.value;
        break;
    case 258:
        picture.coding.bits = first_of(entry, directory);
        break;
    case 259:
        picture.coding.compression = entry.value;
        break;
    case 271:
        add_text(facts_.makes);
        break;
    case 272:
    case 50708: // UniqueCameraModel
        add_text(facts_.models);
        break;
    case 273: // Strips
    case 324: // Tiles
        picture.data = first_of(entry, directory);
        break;
    case 305:
        add_text(facts_.software);
        break;
    case 513:
        picture.jpeg = entry.value;
        break;
    case 330:
        add_sub_directories(entry, directory);
        break;
    case 34665:
        pointers_.push_back({directory.base + entry.value, directory.base, directory.order, Role::kExif});
        break;
    case 37500: // CR3 has it in a structure of its own, DNG converters in IFD 0.
        add_maker_note(entry.values, directory);
        break;
    default:
        break;
    }
}

void StructureReader::add_sub_directories(const Entry& entry, const Pointer& directory) {
    for (std::uint32_t index = 0; index < std::min(entry.count, kMostSubDirectories); ++index) {
        if (const auto offset = file_.u32(entry.values + std::uint64_t{4} * index, directory.order)) {
            pointers_.push_back({directory.base + *offset, directory.base, directory.order, Role::kMain});
        }
    }
}

void StructureReader::add_picture(const Picture& picture, const Pointer& directory) {
    const ImageCoding& coding = picture.coding;
    if (is_likely_size(coding.width, coding.height)) {
        add_fact(facts_.sizes, {coding.width, coding.height});
        ++(directory.order == std::endian::little ? facts_.little_endian : facts_.big_endian);
        if (coding.bits != 0 && coding.compression != 0) {
            add_fact(facts_.codings, coding);
        }
    }
    if (picture.jpeg != 0) {
        add_jpeg(directory.base + picture.jpeg);
    } else if (picture.data != 0 && is_jpeg_compression(coding.compression)) {
        add_jpeg(directory.base + picture.data);
    }
}

void StructureReader::add_jpeg(std::uint64_t jpeg) {
    if (jpegs_.size() >= kMostJpegHeads || !jpegs_.insert(jpeg).second) {
        return;
    }
    if (const auto exif = add_jpeg_head(file_, jpeg, facts_)) {
        add_tiff(*exif);
    }
}

void StructureReader::add_maker_note(std::uint64_t note, const Pointer& exif) {
    using namespace std::string_view_literals;
    const auto order_at = [&](std::uint64_t at) {
        return file_.has(at, "II")   ? std::endian::little
               : file_.has(at, "MM") ? std::endian::big
                                     : exif.order;
    };
    if (file_.has(note, "Nikon\0\x02"sv)) { // A TIFF structure of its own follows.
        const std::uint64_t base = note + 10;
        const std::endian order = order_at(base);
        const std::uint64_t first = base + file_.u32(base + 4, order).value_or(0);
        pointers_.push_back({first, base, order, Role::kNikonNote});
    } else if (file_.has(note, "OLYMPUS\0"sv)) {
        pointers_.push_back({note + 12, note, order_at(note + 8), Role::kOlympusNote});
    } else if (file_.has(note, "OLYMP\0"sv)) {
        pointers_.push_back({note + 8, exif.base, exif.order, Role::kOlympusNote});
    } else if (file_.has(note, "AOC\0"sv)) {
        pointers_.push_back({note + 6, exif.base, order_at(note + 4), Role::kPentaxNote});
    } else if (std::any_of(facts_.makes.begin(), facts_.makes.end(),
                           [](const std::string& make) { return make.starts_with("Canon"); })) {
        pointers_.push_back({note, exif.base, exif.order, Role::kCanonNote});
    }
}

void StructureReader::read_note_entry(const Entry& entry, const Pointer& directory) {
    constexpr std::uint16_t kCanonFirmware = 7;
    constexpr std::uint16_t kNikonPreview = 0x0011;
    constexpr std::uint16_t kOlympusCameraSettings = 0x2020;
    constexpr std::uint16_t kOlympusPreview = 0x0101;
    constexpr std::uint16_t kPentaxPreview = 0x0004;
    const auto is = [&](Role role, std::uint16_t tag) { return directory.role == role && entry.tag == tag; };
    if (is(Role::kCanonNote, kCanonFirmware)) {
        if (const std::string text = text_of(entry); !text.empty()) {
            add_fact(facts_.software, text);
        }
    } else if (is(Role::kNikonNote, kNikonPreview)) {
        pointers_.push_back({directory.base + entry.value, directory.base, directory.order, Role::kMain});
    } else if (is(Role::kOlympusNote, kOlympusCameraSettings)) { // As a value, or an offset.
        const std::uint64_t settings = entry.count == 1 ? directory.base + entry.value : entry.values;
        pointers_.push_back({settings, directory.base, directory.order, Role::kOlympusSettings});
    } else if (is(Role::kOlympusSettings, kOlympusPreview) || is(Role::kPentaxNote, kPentaxPreview)) {
        add_jpeg(directory.base + entry.value);
    }
}

} // namespace plate_mend::host
