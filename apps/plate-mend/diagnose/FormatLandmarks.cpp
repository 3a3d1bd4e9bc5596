#include "diagnose/FormatLandmarks.h"

#include <array>
#include <utility>

namespace plate_mend::host {

std::uint32_t value_of(const ByteReader& reader, std::uint64_t entry) {
    return reader.u32(entry + kValueInEntry).value_or(0);
}

Offset find_tag(const ByteReader& reader, std::uint16_t tag, std::uint64_t start) {
    const auto high = static_cast<char>(tag >> 8U);
    const auto low = static_cast<char>(tag & 0xFFU);
    const bool big_endian = reader.order() == std::endian::big;
    const std::array<char, 2> bytes = {big_endian ? high : low, big_endian ? low : high};
    return reader.find({bytes.data(), bytes.size()}, start);
}

bool is_legal_entry(const ByteReader& reader, std::uint64_t entry) {
    const auto type = reader.u16(entry + 2);
    return type && *type >= 1 && *type <= kHighestType &&
           reader.u32(entry + kCountInEntry).value_or(0) != 0 && reader.holds(entry, kEntrySize);
}

std::string_view tiff_mark(bool big_endian) {
    using namespace std::string_view_literals;
    return big_endian ? "MM\0*"sv : "II*\0"sv;
}

void add_landmark(Landmarks& marks, std::string name, bool needed, Offset offset) {
    marks.found.push_back(
        {std::move(name), needed, offset ? std::optional<std::uint64_t>(*offset) : std::nullopt});
}

} // namespace plate_mend::host
