#include "coding/DifferenceRows.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <bit>

namespace raw_mend {

namespace {

/// A code of the camera's table: it begins at a number of 12 bits.
struct PentaxCode {
    unsigned begin = 0;
    DifferenceCode code;
};

/// The table: the number of codes less 12, modulo 16; 12 other bytes; where each code begins; how many bits
/// each has. The codes are for differences of 0 bits, 1 bit, and so on.
std::vector<PentaxCode> read_codes(const byte_reader::ByteReader& table) {
    constexpr std::uint64_t kBegins = 14;
    const std::uint64_t count = (table.u16(0).value_or(0) + 12U) % 16U;
    std::vector<PentaxCode> codes;
    for (std::uint64_t nth = 0; nth < count; ++nth) {
        const auto begin = table.u16(kBegins + 2 * nth);
        const auto bits = table.u8(kBegins + 2 * count + nth);
        if (!begin || !bits || *bits == 0 || *bits > 12) {
            return {};
        }
        codes.push_back({*begin, {static_cast<std::uint8_t>(*bits), static_cast<std::uint8_t>(nth), 0}});
    }
    std::ranges::sort(codes, {}, &PentaxCode::begin);
    return codes;
}

/// Whether the codes, which are sorted, take up all numbers of 12 bits, each once.
bool are_complete(const std::vector<PentaxCode>& codes) {
    unsigned end = 0;
    for (const PentaxCode& code : codes) {
        if (code.begin != end) {
            return false;
        }
        end += 1U << (12U - code.code.bits);
    }
    return end == 1U << 12U;
}

} // namespace

std::optional<HeadlessCoding> pentax_coding(Bytes table, ByteOrder order, const Frame& frame) {
    constexpr unsigned kMostBits = 16;
    const byte_reader::ByteReader reader(table,
                                         order == ByteOrder::kBig ? std::endian::big : std::endian::little);
    const std::vector<PentaxCode> found = read_codes(reader);
    if (!are_complete(found) || frame.bits == 0 || frame.bits > kMostBits) {
        return std::nullopt;
    }
    std::vector<DifferenceCode> codes;
    for (const PentaxCode& code : found) {
        codes.push_back(code.code);
    }
    return coding_of(DifferenceRows{.columns = frame.width,
                                    .rows = frame.height,
                                    .values = 1 << frame.bits,
                                    .codes = std::make_shared<const DifferenceCodes>(codes, kMostBits)});
}

} // namespace raw_mend
