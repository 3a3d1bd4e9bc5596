#include "Landmarks.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace plate_mend::host {

namespace {

using Bytes = std::span<const unsigned char>;
using Place = std::optional<std::size_t>;

constexpr std::size_t kEntry = 12; // Of a TIFF directory: tag, type, count, value.
constexpr std::uint16_t kLong = 4;

/// Numbers of a file in one byte order. What lies outside is nothing.
class Numbers {
  public:
    Numbers(Bytes bytes, bool big_endian) : bytes_(bytes), big_endian_(big_endian) {}

    [[nodiscard]] std::optional<std::uint16_t> u16(std::uint64_t offset) const {
        const auto value = number(offset, 2);
        return value ? std::optional(static_cast<std::uint16_t>(*value)) : std::nullopt;
    }
    [[nodiscard]] std::optional<std::uint32_t> u32(std::uint64_t offset) const { return number(offset, 4); }

    /// The first place from start on where these two bytes stand in the file's order.
    [[nodiscard]] Place find(std::uint16_t tag, std::size_t start) const {
        const auto high = static_cast<unsigned char>(tag >> 8);
        const auto low = static_cast<unsigned char>(tag & 0xFF);
        const std::array<unsigned char, 2> pattern = {big_endian_ ? high : low, big_endian_ ? low : high};
        if (start > bytes_.size()) {
            return std::nullopt;
        }
        const auto found = std::search(bytes_.begin() + static_cast<std::ptrdiff_t>(start), bytes_.end(),
                                       pattern.begin(), pattern.end());
        return found == bytes_.end() ? Place() : static_cast<std::size_t>(found - bytes_.begin());
    }

    /// An entry as TIFF has them, whole and with a type and a count.
    [[nodiscard]] bool is_entry(std::uint64_t offset) const {
        const auto type = u16(offset + 2);
        return type && *type >= 1 && *type <= kEntry && u32(offset + 4).value_or(0) != 0 && u32(offset + 8);
    }

    [[nodiscard]] std::uint64_t size() const { return bytes_.size(); }

  private:
    [[nodiscard]] std::optional<std::uint32_t> number(std::uint64_t offset, std::size_t size) const {
        if (offset > bytes_.size() || size > bytes_.size() - offset) {
            return std::nullopt;
        }
        std::uint32_t value = 0;
        for (std::size_t index = 0; index < size; ++index) {
            const std::size_t place =
                static_cast<std::size_t>(offset) + (big_endian_ ? index : size - 1 - index);
            value = value << 8 | bytes_[place];
        }
        return value;
    }

    Bytes bytes_;
    bool big_endian_;
};

Place find_text(Bytes bytes, std::string_view text, std::size_t start, std::size_t end) {
    if (start >= end || end > bytes.size()) {
        return std::nullopt;
    }
    const auto last = bytes.begin() + static_cast<std::ptrdiff_t>(end);
    const auto found =
        std::search(bytes.begin() + static_cast<std::ptrdiff_t>(start), last, text.begin(), text.end(),
                    [](unsigned char left, char right) { return left == static_cast<unsigned char>(right); });
    return found == last ? Place() : static_cast<std::size_t>(found - bytes.begin());
}

bool begins_with(Bytes bytes, std::string_view text) {
    return find_text(bytes, text, 0, std::min(text.size(), bytes.size())) == Place(0);
}

void add(Landmarks& marks, std::string name, bool needed, Place place) {
    marks.found.push_back(
        {std::move(name), needed, place ? std::optional<std::uint64_t>(*place) : std::nullopt});
}

void add_image(Landmarks& marks, std::optional<std::uint32_t> offset, std::optional<std::uint32_t> size) {
    if (offset) {
        marks.images.push_back({*offset, size ? std::optional<std::uint64_t>(*size) : std::nullopt});
    }
}

// The entries that lead to the image, format by format.

/// Tags 273, 278 and 279 with the last two so far behind the first.
void add_strip_triple(Landmarks& marks, const Numbers& numbers, std::size_t second, std::size_t third) {
    Place place = numbers.find(273, 0);
    while (place && (numbers.u16(*place + second) != 278 || numbers.u16(*place + third) != 279 ||
                     !numbers.u32(*place + third + 8))) {
        place = numbers.find(273, *place + 1);
    }
    add(marks, "strip entries of the image (tags 273, 278, 279)", true, place);
    if (place) {
        add_image(marks, numbers.u32(*place + 8), numbers.u32(*place + third + 8));
    }
}

void add_cr2(Landmarks& marks, const Numbers& numbers) {
    const auto leads_on = [&numbers](std::size_t place) {
        const std::size_t next = place + kEntry;
        return numbers.u16(next) == 279 && numbers.u16(next + 2) == kLong && numbers.is_entry(next) &&
               numbers.u32(next + 8) != 0U;
    };
    Place place = numbers.find(273, 0);
    while (place && !leads_on(*place)) {
        place = numbers.find(273, *place + 1);
    }
    add(marks, "strip entries of the image (tag 273 with 279 behind it)", true, place);
    if (place) {
        add_image(marks, numbers.u32(*place + 8), numbers.u32(*place + kEntry + 8));
    }
}

/// The next entry of tag 254 whose value is 0: that of a main image.
Place find_main_image(const Numbers& numbers, std::size_t start) {
    Place place = numbers.find(254, start);
    while (place && (!numbers.is_entry(*place) || numbers.u32(*place + 8) != 0U)) {
        place = numbers.find(254, *place + 1);
    }
    return place;
}

void add_nef(Landmarks& marks, const Numbers& numbers) {
    const Place main = find_main_image(numbers, 0);
    Place strip = main ? numbers.find(273, *main) : std::nullopt;
    if (strip && !numbers.is_entry(*strip)) {
        strip.reset();
    }
    add(marks, "entry of the main image (tag 254 with value 0)", true, main);
    add(marks, "strip entry of the image (tag 273 behind it)", true, strip);
    if (strip) {
        add_image(marks, numbers.u32(*strip + 8), std::nullopt);
    }
}

/// What an entry's list of numbers begins and ends with.
struct List {
    std::optional<std::uint32_t> first;
    std::optional<std::uint32_t> last;
};

List read_list(const Numbers& numbers, std::size_t entry) {
    const std::uint64_t at = numbers.u32(entry + 8).value_or(0);
    const std::uint64_t count = numbers.u32(entry + 4).value_or(0);
    return {numbers.u32(at), numbers.u32(at + 4 * (count - 1))};
}

/// Moves a place on to the next tag from start on. As starts only grow, all searches together read once.
void advance(const Numbers& numbers, std::uint16_t tag, std::size_t start, Place& place) {
    if (place && *place < start) {
        place = numbers.find(tag, start);
    }
}

void add_dng(Landmarks& marks, const Numbers& numbers) {
    Place main = find_main_image(numbers, 0);
    Place offsets = numbers.find(324, 0);
    Place counts = numbers.find(325, 0);
    for (; main; main = find_main_image(numbers, *main + 1)) {
        advance(numbers, 324, *main, offsets);
        advance(numbers, 325, *main, counts);
        if (!offsets || !counts || (numbers.is_entry(*offsets) && numbers.is_entry(*counts))) {
            break;
        }
    }
    add(marks, "entry of the main image (tag 254 with value 0)", true, main);
    add(marks, "tile offsets behind it (tag 324)", true, main ? offsets : std::nullopt);
    add(marks, "tile byte counts behind it (tag 325)", true, main ? counts : std::nullopt);
    if (main && offsets && counts) {
        const List places = read_list(numbers, *offsets);
        const List sizes = read_list(numbers, *counts);
        const bool whole = places.first && places.last && sizes.last && *places.last >= *places.first;
        const std::uint64_t end = whole ? std::uint64_t{*places.last} + *sizes.last : 0;
        if (places.first) {
            marks.images.push_back(
                {*places.first, whole ? std::optional(end - *places.first) : std::nullopt});
        }
    }
}

std::string tiff_mark(bool big_endian) {
    return big_endian ? std::string("MM\0*", 4) : std::string("II*\0", 4);
}

/// The first TIFF header that an entry may belong to: at most 136 bytes in front of it.
Place owning_header(Bytes bytes, bool big_endian, std::size_t entry) {
    constexpr std::size_t kReach = 136;
    return find_text(bytes, tiff_mark(big_endian), entry > kReach ? entry - kReach : 0, entry);
}

void add_raf(Landmarks& marks, Bytes bytes, const Numbers& numbers, bool big_endian) {
    Place strip = numbers.find(0xF007, 0);
    while (strip && (numbers.u16(*strip + 2) != kLong || !numbers.is_entry(*strip))) {
        strip = numbers.find(0xF007, *strip + 1);
    }
    Place length = numbers.find(0xF008, 0);
    while (length && (numbers.u16(*length + 2) != kLong || !numbers.is_entry(*length))) {
        length = numbers.find(0xF008, *length + 1);
    }
    const Place header = strip ? owning_header(bytes, big_endian, *strip) : std::nullopt;
    add(marks, "strip entry of the raw data (tag 0xF007)", true, strip);
    add(marks, "TIFF header of the raw data in front of it", true, header);
    add(marks, "length entry of the raw data (tag 0xF008)", false, length);
    if (strip && header) {
        const std::uint64_t offset = std::uint64_t{numbers.u32(*strip + 8).value_or(0)} + *header;
        const auto size = length ? numbers.u32(*length + 8) : std::nullopt;
        marks.images.push_back({offset, size ? std::optional<std::uint64_t>(*size) : std::nullopt});
    }
}

void add_entries(Landmarks& marks, Bytes bytes, RawFormat format, bool big_endian) {
    const Numbers numbers(bytes, big_endian);
    switch (format) {
    case RawFormat::kArw:
        return add_strip_triple(marks, numbers, 12, 24);
    case RawFormat::kSr2:
    case RawFormat::kOrf:
        return add_strip_triple(marks, numbers, 36, 48);
    case RawFormat::kCr2:
        return add_cr2(marks, numbers);
    case RawFormat::kNef:
        return add_nef(marks, numbers);
    case RawFormat::kDng:
        return add_dng(marks, numbers);
    case RawFormat::kRaf:
        return add_raf(marks, bytes, numbers, big_endian);
    case RawFormat::kCr3:
        break;
    }
}

/// The header at the beginning of the file, with its byte order where it has one.
void add_header(Landmarks& marks, Bytes bytes, RawFormat format) {
    if (format == RawFormat::kRaf) {
        add(marks, "RAF header", false, begins_with(bytes, "FUJIFILM") ? Place(0) : std::nullopt);
        return;
    }
    const std::string little = format == RawFormat::kOrf ? "IIR" : tiff_mark(false);
    const std::string big = format == RawFormat::kOrf ? "MMO" : tiff_mark(true);
    const bool alive = begins_with(bytes, little) || begins_with(bytes, big);
    add(marks, "TIFF header", false, alive ? Place(0) : std::nullopt);
    if (alive) {
        marks.big_endian = begins_with(bytes, big);
    }
}

/// "CRAW" with that size in front of it.
Place find_track(Bytes bytes, const Numbers& numbers, std::uint32_t size) {
    Place place = find_text(bytes, "CRAW", 1, bytes.size());
    while (place && (*place < 4 || numbers.u32(*place - 4) != size)) {
        place = find_text(bytes, "CRAW", *place + 1, bytes.size());
    }
    return place;
}

void add_cr3_track(Landmarks& marks, Bytes bytes, const Numbers& numbers, const std::string& name,
                   Place first, Place last) {
    const std::size_t start = first.value_or(0);
    const std::size_t end = first && last ? *last : 0;
    const Place sizes = find_text(bytes, "stsz", start, end);
    const Place offsets = find_text(bytes, "co64", start, end);
    add(marks, "size of " + name + " (stsz)", true, sizes);
    add(marks, "place of " + name + " (co64)", true, offsets);
    if (!sizes || !offsets) {
        return;
    }
    // Behind the type: a size for all samples, or 0; their count; the first of their sizes or places.
    constexpr std::size_t kCommonSize = 8;
    constexpr std::size_t kFirstNumber = 16;
    const bool common = numbers.u32(*sizes + kCommonSize).value_or(0) != 0;
    if (common) {
        marks.obstacle = "its tables tell one size for all samples, which no repair reads";
    }
    add_image(marks, numbers.u32(*offsets + kFirstNumber),
              numbers.u32(*sizes + (common ? kCommonSize : kFirstNumber)));
}

Landmarks find_cr3(Bytes bytes) {
    const Numbers numbers(bytes, true);
    Landmarks marks;
    const auto box = [&](std::string_view type) {
        const Place place = find_text(bytes, type, 4, bytes.size());
        return place ? Place(*place - 4) : place;
    };
    add(marks, "file type box (ftyp crx)", false,
        find_text(bytes, "ftypcrx ", 0, bytes.size()) == Place(4) ? Place(0) : std::nullopt);
    add(marks, "box of all tables (moov)", false, box("moov"));
    add(marks, "first track box (trak)", false, box("trak"));
    const Place small = find_track(bytes, numbers, 112);
    const Place large = find_track(bytes, numbers, 228);
    const Place metadata = large ? find_text(bytes, "CTMD", *large, bytes.size()) : std::nullopt;
    add(marks, "entry of the JPEG track (CRAW of 112 bytes)", true, small);
    add(marks, "entry of the raw track (CRAW of 228 bytes)", true, large);
    add(marks, "entry of the metadata track (CTMD)", true, metadata);
    add_cr3_track(marks, bytes, numbers, "the JPEG track", small, large);
    add_cr3_track(marks, bytes, numbers, "the raw track", large, metadata);
    return marks;
}

Landmarks find_in_order(Bytes bytes, RawFormat format, bool big_endian) {
    Landmarks marks;
    add_header(marks, bytes, format);
    add_entries(marks, bytes, format, big_endian);
    marks.big_endian = marks.complete() ? std::optional(big_endian) : marks.big_endian;
    return marks;
}

/// Whether the image data of these entries lie in the file: bytes that look like entries by chance lead
/// elsewhere.
bool is_plausible(const Landmarks& marks, std::uint64_t size) {
    return marks.complete() &&
           std::all_of(marks.images.begin(), marks.images.end(),
                       [size](const ImageData& image) { return image.offset != 0 && image.offset < size; });
}

} // namespace

bool Landmarks::complete() const {
    return !found.empty() && std::all_of(found.begin(), found.end(), [](const Landmark& mark) {
        return !mark.needed || mark.offset.has_value();
    });
}

Landmarks find_landmarks(std::span<const unsigned char> bytes, RawFormat format,
                         std::optional<bool> big_endian) {
    if (format == RawFormat::kCr3) {
        return find_cr3(bytes);
    }
    if (big_endian) {
        return find_in_order(bytes, format, *big_endian);
    }
    Landmarks little = find_in_order(bytes, format, false);
    Landmarks big = find_in_order(bytes, format, true);
    if (is_plausible(little, bytes.size()) != is_plausible(big, bytes.size())) {
        return is_plausible(big, bytes.size()) ? big : little;
    }
    return big.complete() && !little.complete() ? big : little;
}

} // namespace plate_mend::host
