#include "facts/JpegHead.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <string_view>
#include <vector>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;
using Span = std::span<const unsigned char>;

constexpr std::size_t kTableSteps = 64; ///< Of a quantisation table.

/// FNV-1a, 64 bits.
std::uint64_t table_hash(Span bytes) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const unsigned char byte : bytes) {
        hash = (hash ^ byte) * 0x100000001B3U;
    }
    return hash;
}

/// The tables of a segment; empty if it is no such segment: a step is never 0.
std::vector<Span> tables_of(Span payload) {
    std::vector<Span> tables;
    while (!payload.empty()) {
        const unsigned precision = payload[0] >> 4U;
        const std::size_t length = 1 + kTableSteps * (precision + 1);
        if (precision > 1 || (payload[0] & 15U) > 3 || payload.size() < length) {
            return {};
        }
        const Span steps = payload.subspan(1, length - 1);
        for (std::size_t at = 0; at < steps.size(); at += precision + 1) {
            if (steps[at] == 0 && steps[at + precision] == 0) {
                return {};
            }
        }
        tables.push_back(payload.first(length));
        payload = payload.subspan(length);
    }
    return tables;
}

} // namespace

void add_quantisation(Span bytes, PhotographFacts& facts) {
    const ByteReader reader(bytes, std::endian::big);
    const std::uint16_t length = reader.u16(2).value_or(0);
    constexpr std::uint16_t kLongest = 2 + 4 * (1 + 2 * kTableSteps); // Four tables of two bytes per step.
    if (!reader.has(0, "\xFF\xDB") || length < 2 || length > kLongest || !reader.holds(2, length)) {
        return;
    }
    for (const Span table : tables_of(bytes.subspan(4, length - std::size_t{2}))) {
        add_fact(facts.tables, table_hash(table));
    }
}

void add_frame(Span bytes, PhotographFacts& facts) {
    const ByteReader reader(bytes, std::endian::big);
    const unsigned kind = reader.u8(1).value_or(0);
    const unsigned precision = reader.u8(4).value_or(0);
    const unsigned components = reader.u8(9).value_or(0);
    if (!reader.has(0, "\xFF") || kind < 0xC0 || kind > 0xC3 || components < 1 || components > 4 ||
        reader.u16(2) != 8 + 3 * components || precision < 8 || precision > 16) {
        return;
    }
    const std::uint32_t height = reader.u16(5).value_or(0);
    const std::uint32_t width = reader.u16(7).value_or(0);
    if (!is_likely_size(width, height)) {
        return;
    }
    add_fact(facts.sizes, {width, height});
    constexpr unsigned kLossless = 0xC3;
    if (kind != kLossless) {
        std::uint32_t factors = 0;
        for (std::uint64_t component = 0; component < components; ++component) {
            factors = factors << 8U | reader.u8(11 + 3 * component).value_or(0);
        }
        add_fact(facts.samplings, factors);
    }
}

std::optional<std::uint64_t> add_jpeg_head(FilePages& file, std::uint64_t jpeg, PhotographFacts& facts) {
    constexpr unsigned kMostSegments = 64;
    constexpr std::string_view kExif("Exif\0\0", 6);
    std::optional<std::uint64_t> exif;
    if (!file.has(jpeg, "\xFF\xD8\xFF")) {
        return exif;
    }
    std::uint64_t at = jpeg + 2;
    for (unsigned count = 0; count < kMostSegments; ++count) {
        const auto marker = file.u16(at, std::endian::big);
        const auto length = file.u16(at + 2, std::endian::big);
        if (!marker || !length || *marker < 0xFF02 || *length < 2 || *marker == 0xFFDA) { // SOS.
            break;
        }
        if (*marker == 0xFFDB) {
            add_quantisation(file.bytes(at, *length + std::size_t{2}), facts);
        } else if (*marker >= 0xFFC0 && *marker <= 0xFFC3) {
            add_frame(file.bytes(at, *length + std::size_t{2}), facts);
        } else if (*marker == 0xFFE1 && !exif && file.has(at + 4, kExif)) {
            exif = at + 4 + kExif.size();
        }
        at += 2 + std::uint64_t{*length};
    }
    return exif;
}

} // namespace plate_mend::host
