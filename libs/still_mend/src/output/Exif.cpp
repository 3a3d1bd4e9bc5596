#include "output/Exif.h"

#include "jpeg/Markers.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace still_mend {

namespace {

constexpr std::string_view kName("Exif\0\0", 6);

// Tags (TIFF 6.0, Exif 2.3).
constexpr unsigned kMake = 271;
constexpr unsigned kModel = 272;
constexpr unsigned kOrientation = 274;
constexpr unsigned kDateTime = 306;
constexpr unsigned kExifDirectory = 34665;
constexpr unsigned kDateTimeOriginal = 36867;

constexpr unsigned kAscii = 2;
constexpr unsigned kShort = 3;
constexpr unsigned kLong = 4;

struct Values {
    std::string make;
    std::string model;
    std::string date;
    std::string original_date;
    unsigned orientation = 0; // 1 to 8; 0 for unknown.

    [[nodiscard]] bool any() const {
        return !make.empty() || !model.empty() || !date.empty() || !original_date.empty() || orientation != 0;
    }
};

/// A TIFF structure within the file; offsets count from its header.
class TiffReader {
  public:
    TiffReader(Bytes tiff, bool little) : tiff_(tiff), little_(little) {}

    /// The values of IFD 0 and of the Exif directory that it names.
    [[nodiscard]] Values read() const {
        Values values;
        if (const auto first = u32(4)) {
            read_directory(*first, values, true);
        }
        return values;
    }

  private:
    [[nodiscard]] std::optional<unsigned> u16(std::size_t offset) const {
        if (offset > tiff_.size() || tiff_.size() - offset < 2) {
            return std::nullopt;
        }
        const unsigned first = tiff_[offset];
        const unsigned second = tiff_[offset + 1];
        return little_ ? second << 8U | first : first << 8U | second;
    }

    [[nodiscard]] std::optional<std::uint32_t> u32(std::size_t offset) const {
        const auto first = u16(offset);
        const auto second = u16(offset + 2);
        if (!first || !second) {
            return std::nullopt;
        }
        return little_ ? *second << 16U | *first : *first << 16U | *second;
    }

    void read_directory(std::size_t offset, Values& values, bool outer) const {
        constexpr unsigned kMostEntries = 512;
        const unsigned count = std::min(u16(offset).value_or(0), kMostEntries);
        for (std::size_t entry = offset + 2; entry < offset + 2 + std::size_t{count} * 12; entry += 12) {
            const auto tag = u16(entry);
            const auto type = u16(entry + 2);
            if (!tag || !type || !u32(entry + 8)) {
                return;
            }
            read_entry(*tag, *type, entry, values, outer);
        }
    }

    void read_entry(unsigned tag, unsigned type, std::size_t entry, Values& values, bool outer) const {
        if (type == kAscii && tag == kMake) {
            values.make = text(entry);
        } else if (type == kAscii && tag == kModel) {
            values.model = text(entry);
        } else if (type == kAscii && tag == kDateTime) {
            values.date = date(entry);
        } else if (type == kAscii && tag == kDateTimeOriginal) {
            values.original_date = date(entry);
        } else if (type == kShort && tag == kOrientation) {
            const unsigned value = u16(entry + 8).value_or(0);
            values.orientation = value >= 1 && value <= 8 ? value : 0;
        } else if (type == kLong && tag == kExifDirectory && outer) {
            read_directory(u32(entry + 8).value_or(0), values, false);
        }
    }

    /// Printable ASCII of a plausible length; empty for anything else.
    [[nodiscard]] std::string text(std::size_t entry) const {
        constexpr std::uint32_t kLongest = 64;
        const std::uint32_t count = u32(entry + 4).value_or(0);
        const std::size_t offset = count <= 4 ? entry + 8 : u32(entry + 8).value_or(0);
        if (count < 2 || count > kLongest || offset > tiff_.size() || tiff_.size() - offset < count) {
            return {};
        }
        const Bytes bytes = tiff_.subspan(offset, count);
        const auto end = std::find(bytes.begin(), bytes.end(), 0);
        if (!std::all_of(bytes.begin(), end,
                         [](unsigned char byte) { return byte >= 0x20 && byte < 0x7F; })) {
            return {};
        }
        return {bytes.begin(), end};
    }

    /// "2024:05:17 18:32:05"
    [[nodiscard]] std::string date(std::size_t entry) const {
        std::string value = text(entry);
        return value.size() == 19 && value[4] == ':' && value[10] == ' ' && value[13] == ':' ? value
                                                                                             : std::string();
    }

    Bytes tiff_;
    bool little_;
};

/// Whether a TIFF header is at the offset: byte order, then 42 or what a maker uses instead.
std::optional<bool> little_endian_at(Bytes file, std::size_t offset) {
    const unsigned char first = file[offset];
    if ((first != 'I' && first != 'M') || file[offset + 1] != first) {
        return std::nullopt;
    }
    const bool little = first == 'I';
    const unsigned char low = file[offset + (little ? 2 : 3)];
    const unsigned char high = file[offset + (little ? 3 : 2)];
    const bool known = (low == 42 && high == 0) || (high == 'R' && (low == 'O' || low == 'S')) ||
                       (low == 'R' && (high == 'O' || high == 'S')) || (low == 0x55 && high == 0);
    return known ? std::optional(little) : std::nullopt;
}

Values find_values(Bytes file, std::size_t picture) {
    constexpr std::size_t kSearched = 1U << 20U;
    constexpr unsigned kMostHeaders = 64;
    Values found;
    unsigned headers = 0;
    const std::size_t end = std::min(file.size(), std::max(kSearched, std::min(picture, 2 * kSearched)));
    for (std::size_t offset = 0; offset + 8 < end && headers < kMostHeaders; ++offset) {
        if (const auto little = little_endian_at(file, offset)) {
            ++headers;
            Values values = TiffReader(file.subspan(offset), *little).read();
            if (!values.make.empty() || !values.model.empty()) {
                return values;
            }
            if (!found.any()) {
                found = values;
            }
        }
    }
    return found;
}

/// Writes a small TIFF structure, low byte first: IFD 0, then the Exif directory, each followed by its texts.
class TiffBuilder {
  public:
    std::vector<unsigned char> build(const Values& values) {
        bytes_ = {'I', 'I', 42, 0, 8, 0, 0, 0};
        const bool inner = !values.original_date.empty();
        begin_directory((values.make.empty() ? 0U : 1U) + (values.model.empty() ? 0U : 1U) +
                        (values.orientation == 0 ? 0U : 1U) + (values.date.empty() ? 0U : 1U) +
                        (inner ? 1U : 0U));
        text(kMake, values.make);
        text(kModel, values.model);
        if (values.orientation != 0) {
            entry(kOrientation, kShort, 1, values.orientation);
        }
        text(kDateTime, values.date);
        std::size_t link = 0;
        if (inner) {
            link = bytes_.size() + 8;
            entry(kExifDirectory, kLong, 1, 0);
        }
        end_directory();
        if (inner) {
            put_u32(link, bytes_.size());
            begin_directory(1);
            text(kDateTimeOriginal, values.original_date);
            end_directory();
        }
        return std::move(bytes_);
    }

  private:
    void add(std::size_t value, unsigned count) {
        for (unsigned index = 0; index < count; ++index) {
            bytes_.push_back(static_cast<unsigned char>(value >> (8 * index) & 0xFFU));
        }
    }
    void put_u32(std::size_t offset, std::size_t value) {
        for (unsigned index = 0; index < 4; ++index) {
            bytes_[offset + index] = static_cast<unsigned char>(value >> (8 * index) & 0xFFU);
        }
    }

    void begin_directory(unsigned entries) {
        add(entries, 2);
        texts_ = bytes_.size() + std::size_t{entries} * 12 + 4;
        pending_.clear();
    }
    void end_directory() {
        add(0, 4);
        bytes_.insert(bytes_.end(), pending_.begin(), pending_.end());
    }

    void entry(unsigned tag, unsigned type, std::size_t count, std::size_t value) {
        add(tag, 2);
        add(type, 2);
        add(count, 4);
        add(value, 4);
    }

    void text(unsigned tag, const std::string& value) {
        if (value.empty()) {
            return;
        }
        if (value.size() < 4) {
            std::size_t packed = 0;
            for (std::size_t index = 0; index < value.size(); ++index) {
                packed |= std::size_t{static_cast<unsigned char>(value[index])} << (8 * index);
            }
            entry(tag, kAscii, value.size() + 1, packed);
            return;
        }
        entry(tag, kAscii, value.size() + 1, texts_ + pending_.size());
        pending_.insert(pending_.end(), value.begin(), value.end());
        pending_.insert(pending_.end(), value.size() % 2 == 0 ? 2 : 1, 0); // NUL, on a word boundary.
    }

    std::vector<unsigned char> bytes_;
    std::vector<unsigned char> pending_;
    std::size_t texts_ = 0;
};

} // namespace

bool has_exif(const std::vector<Bytes>& segments) {
    return std::any_of(segments.begin(), segments.end(), [](Bytes segment) {
        return segment[1] == marker::kApp1 && segment.size() > 4 + kName.size() &&
               std::equal(kName.begin(), kName.end(), segment.begin() + 4,
                          [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; });
    });
}

std::vector<unsigned char> make_exif(Bytes file, std::size_t picture) {
    const Values values = find_values(file, picture);
    if (!values.any()) {
        return {};
    }
    const auto tiff = TiffBuilder().build(values);
    const std::size_t length = 2 + kName.size() + tiff.size();
    std::vector<unsigned char> segment{0xFF, marker::kApp1, static_cast<unsigned char>(length >> 8U),
                                       static_cast<unsigned char>(length & 0xFFU)};
    segment.insert(segment.end(), kName.begin(), kName.end());
    segment.insert(segment.end(), tiff.begin(), tiff.end());
    return segment;
}

} // namespace still_mend
