#include "coding/CrxLayout.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::uint64_t kHeaderSizeInCmp1 = 36;
// Of CMP1: the geometry, all 4 bytes, then the bits, and planes and levels in half a byte each.
constexpr std::uint64_t kWidth = 16;
constexpr std::uint64_t kTileWidth = 24;
constexpr std::uint64_t kBits = 32;
constexpr std::uint64_t kPlanes = 33;
constexpr std::uint64_t kLevels = 34;
constexpr std::uint64_t kMostPlaneAlignment = 4096;
constexpr std::uint64_t kMostRest = 65536;

CrxFrame read_frame(const byte_reader::ByteReader& reader, std::uint64_t cmp1) {
    return {.width = reader.u32(cmp1 + kWidth).value_or(0),
            .height = reader.u32(cmp1 + kWidth + 4).value_or(0),
            .tile_width = reader.u32(cmp1 + kTileWidth).value_or(0),
            .tile_height = reader.u32(cmp1 + kTileWidth + 4).value_or(0),
            .bits = reader.u8(cmp1 + kBits).value_or(0),
            .planes = reader.u8(cmp1 + kPlanes).value_or(0U) / 16U,
            .levels = reader.u8(cmp1 + kLevels).value_or(0U) % 16U};
}

} // namespace

std::uint64_t CrxLayout::length(const CrxHeads& other) const {
    return pad(header_size + other.coded_length());
}

std::uint64_t CrxLayout::pad(std::uint64_t length) const {
    return (length + alignment - 1) / alignment * alignment;
}

bool CrxLayout::has_headers_like(const CrxLayout& other) const {
    const auto same = [](const CrxHeader& one, const CrxHeader& two) {
        return one.code == two.code && one.size == two.size;
    };
    return header_size == other.header_size && std::ranges::equal(heads.headers, other.heads.headers, same);
}

std::optional<CrxLayout> read_crx_layout(Bytes file, const Extent& data, const Extent& cmp1) {
    const byte_reader::ByteReader reader(file, std::endian::big);
    const auto header_size = reader.u32(cmp1.offset + kHeaderSizeInCmp1);
    if (!header_size || *header_size > data.length || !data.is_within(file)) {
        return std::nullopt;
    }
    const Bytes headers = file.first(static_cast<std::size_t>(data.offset + *header_size));
    auto heads = read_crx_heads(headers, data.offset);
    if (!heads || !heads->lengths_agree) {
        return std::nullopt;
    }
    CrxLayout layout{std::move(*heads), *header_size, read_frame(reader, cmp1.offset), 1, 0};
    while (layout.length(layout.heads) < data.length && layout.alignment < kMostPlaneAlignment) {
        layout.alignment *= 2;
    }
    if (layout.length(layout.heads) == data.length) {
        return layout;
    }
    layout.alignment = 1;
    const std::uint64_t length = layout.length(layout.heads);
    layout.rest = data.length - std::min(length, data.length);
    return length <= data.length && layout.rest <= kMostRest ? std::optional(std::move(layout))
                                                             : std::nullopt;
}

} // namespace raw_mend
