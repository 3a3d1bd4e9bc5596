#include "metadata/ExifReader.h"

#include "metadata/ExifValues.h"
#include "metadata/GpsDirectory.h"

#include <byte_reader/TiffTypes.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;
using byte_reader::size_of_tiff_type;

constexpr std::uint64_t kEntrySize = 12;
constexpr std::uint64_t kMostEntries = 512;              ///< Of a directory.
constexpr std::size_t kMostDirectories = 32;             ///< Of a structure.
constexpr std::uint64_t kMostImages = 4096;              ///< Strips or tiles of a directory.
constexpr std::size_t kMostWork = std::size_t{1} << 22U; ///< Photographs take a few thousand.

struct Magic {
    std::string_view text;
    std::endian order;
};
/// TIFF, ORF and RW2.
constexpr std::array kMagics = {Magic{std::string_view("II*\0", 4), std::endian::little},
                                Magic{std::string_view("MM\0*", 4), std::endian::big},
                                Magic{"IIRO", std::endian::little},
                                Magic{"IIRS", std::endian::little},
                                Magic{"MMOR", std::endian::big},
                                Magic{std::string_view("IIU\0", 4), std::endian::little}};

template <typename Value>
void set_if_new(Value& value, const Value& other) {
    if (value.empty()) {
        value = other;
    }
}

} // namespace

void ExifContent::add(const ExifContent& other) {
    facts.insert(other.facts.begin(), other.facts.end());
    if (original.empty()) {
        original = other.original;
        fraction = other.fraction;
        zone = other.zone;
    }
    set_if_new(digitized, other.digitized);
    set_if_new(changed, other.changed);
    is_dng = is_dng || other.is_dng;
    has_raw_image = has_raw_image || other.has_raw_image;
    images.insert(images.end(), other.images.begin(), other.images.end());
    jpegs.insert(jpegs.end(), other.jpegs.begin(), other.jpegs.end());
}

CameraFacts ExifContent::all_facts() const {
    CameraFacts all = facts;
    std::string taken = original;
    if (!original.empty() && !digitized.empty() && original != digitized) {
        return all;
    }
    if (!taken.empty()) {
        taken += (fraction.empty() ? "" : "." + fraction) + zone;
    } else {
        taken = !digitized.empty() ? digitized : is_dng ? "" : changed;
    }
    if (!taken.empty()) {
        all[CameraFact::kTaken] = taken;
    }
    return all;
}

/// Reads one structure.
class ExifReader::Walk {
  public:
    /// What a directory is, by how it was reached.
    enum class Role { kFirst, kImage, kExif, kGps };

    Walk(ExifReader& reader, std::uint64_t base, std::endian order)
        : reader_(reader), file_(reader.file_, order), base_(base) {}

    /// The directories that this one leads to are read after it.
    void begin(std::uint64_t directory, Role role) {
        open_.emplace_back(base_ + directory, role);
        go_on();
    }

    void begin_with(const std::vector<ExifEntry>& entries) {
        read(entries, Role::kFirst);
        go_on();
    }

    [[nodiscard]] ExifEntry entry_at(std::uint64_t at) const {
        ExifEntry entry{.tag = file_.u16(at).value_or(0),
                        .type = file_.u16(at + 2).value_or(0),
                        .count = file_.u32(at + 4).value_or(0)};
        const std::uint64_t length = size_of_tiff_type(entry.type) * entry.count;
        entry.values = length <= 4 ? at + 8 : base_ + file_.u32(at + 8).value_or(0);
        return entry;
    }

    [[nodiscard]] bool is_entry(std::uint64_t at) const {
        const ExifEntry entry = entry_at(at);
        return file_.holds(at, kEntrySize) && entry.tag != 0 && size_of_tiff_type(entry.type) != 0 &&
               entry.count != 0;
    }

    [[nodiscard]] ExifContent& content() { return content_; }
    [[nodiscard]] bool has_directories() const { return directories_ != 0; }

  private:
    void go_on() {
        while (!open_.empty() && directories_ < kMostDirectories) {
            const auto [at, role] = open_.back();
            open_.pop_back();
            read_directory(at, role);
        }
    }

    void read_directory(std::uint64_t at, Role role) {
        const std::uint64_t count = file_.u16(at).value_or(0);
        if (count == 0 || count > kMostEntries || !file_.holds(at + 2, count * kEntrySize) ||
            reader_.read_.contains(at) || reader_.work_ > kMostWork || !is_directory(at, count)) {
            return;
        }
        const std::uint64_t end = at + 2 + count * kEntrySize;
        reader_.read_.emplace(at, end);
        ++directories_;
        std::vector<ExifEntry> entries;
        for (std::uint64_t entry = at + 2; entry < end; entry += kEntrySize) {
            entries.push_back(entry_at(entry));
        }
        read(entries, role);
        const std::uint64_t next = file_.u32(end).value_or(0);
        if (next != 0 && (role == Role::kFirst || role == Role::kImage)) {
            open_.emplace_back(base_ + next, Role::kImage);
        }
    }

    /// Whether these are entries, or zeros in the place of lost ones.
    [[nodiscard]] bool is_directory(std::uint64_t at, std::uint64_t count) const {
        reader_.work_ += static_cast<std::size_t>(count);
        for (std::uint64_t nth = 0; nth < count; ++nth) {
            const std::uint64_t entry = at + 2 + nth * kEntrySize;
            const bool is_empty = file_.u64(entry) == 0U && file_.u32(entry + 8) == 0U;
            if (!is_empty && size_of_tiff_type(file_.u16(entry + 2).value_or(0)) == 0) {
                return false;
            }
        }
        return true;
    }

    void read(const std::vector<ExifEntry>& entries, Role role) {
        if (role == Role::kGps || (role == Role::kFirst && is_gps_directory(entries))) {
            content_.facts.merge(read_gps(file_, entries));
            return;
        }
        for (const ExifEntry& entry : entries) {
            read_structure(entry);
            if (role != Role::kImage) {
                read_date(entry);
                read_fact(entry);
            }
        }
    }

    void read_structure(const ExifEntry& entry) {
        switch (entry.tag) {
        case 258: // BitsPerSample
            content_.has_raw_image = content_.has_raw_image || exif_number(file_, entry) > 8U;
            break;
        case 33421: // CFARepeatPatternDim
        case 33422: // CFAPattern
        case 50752: // Slices of a CR2
            content_.has_raw_image = true;
            break;
        case 273: // StripOffsets
        case 324: // TileOffsets
            add_places(entry, content_.images);
            break;
        case 513: // JPEGInterchangeFormat
            add_places(entry, content_.jpegs);
            break;
        case 330: // SubIFDs
            open_each(entry, Role::kImage);
            break;
        case 34665:
            open_each(entry, Role::kExif);
            break;
        case 34853:
            open_each(entry, Role::kGps);
            break;
        case 50706: // DNGVersion
            content_.is_dng = true;
            break;
        default:
            break;
        }
    }

    void read_date(const ExifEntry& entry) {
        switch (entry.tag) {
        case 306:
            content_.changed = exif_date(file_, entry).value_or(content_.changed);
            break;
        case 36867:
            content_.original = exif_date(file_, entry).value_or(content_.original);
            break;
        case 36868:
            content_.digitized = exif_date(file_, entry).value_or(content_.digitized);
            break;
        case 36881:
            content_.zone = exif_zone(file_, entry).value_or(content_.zone);
            break;
        case 37521:
            content_.fraction = exif_fraction(file_, entry).value_or(content_.fraction);
            break;
        default:
            break;
        }
    }

    /// The limits are far beyond what cameras and lenses do, but not beyond all that noise may be.
    void read_fact(const ExifEntry& entry) {
        constexpr double kLongestExposure = 86400;
        constexpr double kShortestExposure = 1e-6;
        switch (entry.tag) {
        case 271:
            return set(CameraFact::kMake, exif_text(file_, entry));
        case 272:
            return set(CameraFact::kModel, exif_text(file_, entry));
        case 274:
            return set_number(CameraFact::kOrientation, entry, 8);
        case 315:
            return set(CameraFact::kArtist, exif_text(file_, entry));
        case 33432:
            return set(CameraFact::kCopyright, exif_text(file_, entry));
        case 33434:
            return set(CameraFact::kExposureTime,
                       exif_ratio(file_, entry, kShortestExposure, kLongestExposure));
        case 33437:
            return set(CameraFact::kAperture, exif_ratio(file_, entry, 0.5, 256));
        case 34855:
            return set_number(CameraFact::kIso, entry, 65534); // 65535: more than the field holds.
        case 37386:
            return set(CameraFact::kFocalLength, exif_ratio(file_, entry, 0.5, 10000));
        case 42033: // BodySerialNumber
        case 50735: // CameraSerialNumber of DNG
            return set(CameraFact::kSerialNumber, exif_text(file_, entry));
        case 42036:
            return set(CameraFact::kLens, exif_text(file_, entry));
        default:
            return;
        }
    }

    void set(CameraFact fact, const std::optional<std::string>& text) {
        if (text) {
            content_.facts.emplace(fact, *text);
        }
    }

    void set_number(CameraFact fact, const ExifEntry& entry, std::uint32_t most) {
        const auto number = exif_number(file_, entry);
        if (number && *number != 0 && *number <= most) {
            content_.facts.emplace(fact, std::to_string(*number));
        }
    }

    void add_places(const ExifEntry& entry, std::vector<std::uint64_t>& places) {
        for (std::uint64_t nth = 0; nth < std::min(entry.count, kMostImages); ++nth) {
            const auto place = value(entry, nth);
            if (!place || ++reader_.work_ > kMostWork) {
                return;
            }
            places.push_back(base_ + *place);
        }
    }

    void open_each(const ExifEntry& entry, Role role) {
        for (std::uint64_t nth = 0; nth < std::min<std::uint64_t>(entry.count, kMostDirectories); ++nth) {
            if (const auto place = value(entry, nth)) {
                open_.emplace_back(base_ + *place, role);
            }
        }
    }

    /// A number of type SHORT or LONG, or an offset of a directory.
    [[nodiscard]] std::optional<std::uint64_t> value(const ExifEntry& entry, std::uint64_t nth) const {
        constexpr std::uint16_t kShort = 3;
        return entry.type == kShort ? std::optional<std::uint64_t>(file_.u16(entry.values + 2 * nth))
               : size_of_tiff_type(entry.type) == 4
                   ? std::optional<std::uint64_t>(file_.u32(entry.values + 4 * nth))
                   : std::nullopt;
    }

    ExifReader& reader_;
    ByteReader file_;
    std::uint64_t base_; ///< Offsets count from here, modulo 2^64.
    ExifContent content_;
    std::vector<std::pair<std::uint64_t, Role>> open_; ///< Directories to be read.
    std::size_t directories_ = 0;
};

std::optional<ExifContent> ExifReader::read_header(std::uint64_t offset) {
    const ByteReader file(file_, std::endian::little);
    const auto* const magic = std::find_if(kMagics.begin(), kMagics.end(),
                                           [&](const Magic& one) { return file.has(offset, one.text); });
    if (magic == kMagics.end()) {
        return std::nullopt;
    }
    const auto first = ByteReader(file_, magic->order).u32(offset + 4);
    Walk walk(*this, offset, magic->order);
    if (first && *first >= 8) {
        walk.begin(*first, Walk::Role::kFirst);
    }
    return walk.has_directories() ? std::optional(std::move(walk.content())) : std::nullopt;
}

std::optional<ExifContent> ExifReader::read_around(std::uint64_t entry, std::endian order) {
    Walk walk(*this, 0, order);
    std::uint64_t first = entry;
    std::uint64_t end = entry + kEntrySize;
    // Entries are sorted by their tags.
    while (first >= kEntrySize && end - first < kMostEntries * kEntrySize &&
           walk.is_entry(first - kEntrySize) && !has_read(first - kEntrySize) &&
           walk.entry_at(first - kEntrySize).tag < walk.entry_at(first).tag) {
        first -= kEntrySize;
    }
    while (end - first < kMostEntries * kEntrySize && walk.is_entry(end) && !has_read(end) &&
           walk.entry_at(end).tag > walk.entry_at(end - kEntrySize).tag) {
        end += kEntrySize;
    }
    constexpr std::uint64_t kFewest = 3; // Fewer may be an accident.
    if (!walk.is_entry(entry) || end - first < kFewest * kEntrySize) {
        return std::nullopt;
    }
    read_.emplace(first, end);
    std::vector<ExifEntry> entries;
    for (std::uint64_t at = first; at < end; at += kEntrySize) {
        entries.push_back(walk.entry_at(at));
    }
    walk.begin_with(entries);
    return std::move(walk.content());
}

bool ExifReader::has_read(std::uint64_t offset) const {
    const auto next = read_.upper_bound(offset);
    return next != read_.begin() && offset < std::prev(next)->second;
}

} // namespace plate_mend::host
