#include "diagnose/LandmarkSearch.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace plate_mend::host {

std::optional<std::uint16_t> Numbers::u16(std::uint64_t offset) const {
    const auto value = number(offset, 2);
    return value ? std::optional(static_cast<std::uint16_t>(*value)) : std::nullopt;
}

std::optional<std::uint32_t> Numbers::u32(std::uint64_t offset) const {
    return number(offset, 4);
}

std::uint32_t Numbers::value_of(std::uint64_t entry) const {
    return u32(entry + kValueInEntry).value_or(0);
}

Place Numbers::find(std::uint16_t tag, std::uint64_t start) const {
    const auto high = static_cast<char>(tag >> 8U);
    const auto low = static_cast<char>(tag & 0xFFU);
    const std::array<char, 2> pattern = {big_endian_ ? high : low, big_endian_ ? low : high};
    return find_text(bytes_, {pattern.data(), pattern.size()}, start);
}

bool Numbers::is_legal_entry(std::uint64_t offset) const {
    const auto type = u16(offset + 2);
    return type && *type >= 1 && *type <= kHighestType && u32(offset + kCountInEntry).value_or(0) != 0 &&
           holds(offset, kEntrySize);
}

std::optional<std::uint32_t> Numbers::number(std::uint64_t offset, std::size_t count) const {
    if (!holds(offset, count)) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const std::size_t place =
            static_cast<std::size_t>(offset) + (big_endian_ ? index : count - 1 - index);
        value = value << 8U | bytes_[place];
    }
    return value;
}

Place find_text(std::span<const unsigned char> bytes, std::string_view text, std::uint64_t start,
                std::uint64_t end) {
    end = std::min<std::uint64_t>(end, bytes.size());
    if (text.size() > end || start > end - text.size()) {
        return std::nullopt;
    }
    // Holes are zeros by the gigabyte, so the byte that is looked for first is another one.
    const std::size_t anchor = std::min(text.find_first_not_of('\0'), text.size() - 1);
    const std::size_t last = static_cast<std::size_t>(end) - text.size();
    for (auto at = static_cast<std::size_t>(start); at <= last; ++at) {
        const void* hit = std::memchr(bytes.data() + at + anchor, text[anchor], last - at + 1);
        if (hit == nullptr) {
            break;
        }
        at = static_cast<std::size_t>(static_cast<const unsigned char*>(hit) - bytes.data()) - anchor;
        if (std::memcmp(bytes.data() + at, text.data(), text.size()) == 0) {
            return at;
        }
    }
    return std::nullopt;
}

std::string_view tiff_mark(bool big_endian) {
    using namespace std::string_view_literals;
    return big_endian ? "MM\0*"sv : "II*\0"sv;
}

void add_landmark(Landmarks& marks, std::string name, bool needed, Place place) {
    marks.found.push_back(
        {std::move(name), needed, place ? std::optional<std::uint64_t>(*place) : std::nullopt});
}

} // namespace plate_mend::host
