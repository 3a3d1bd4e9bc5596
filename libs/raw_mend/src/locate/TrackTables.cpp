#include "locate/TrackTables.h"

#include <byte_reader/ByteReader.h>

#include <limits>
#include <optional>
#include <string_view>

namespace raw_mend {

namespace {

using byte_reader::ByteReader;

constexpr std::uint64_t kMostBetween = 64; // Boxes of filler between the two tables.
constexpr std::uint64_t kMostBoxSize = 1U << 20U;

/// The size of the box whose type is at an offset; nothing if it is not plausible for a table.
std::optional<std::uint64_t> table_size(const ByteReader& reader, std::uint64_t type) {
    const auto size = type >= 4 ? reader.u32(type - 4) : std::nullopt;
    const bool plausible = size && *size >= 20 && *size <= kMostBoxSize;
    return plausible ? std::optional<std::uint64_t>(*size) : std::nullopt;
}

/// | (4) | size of all, or 0 (4) | count (4) | sizes |
std::optional<std::uint64_t> first_length(const ByteReader& reader, std::uint64_t type) {
    const auto all = reader.u32(type + 8);
    const auto count = reader.u32(type + 12);
    if (!all || !count || *count == 0) {
        return std::nullopt;
    }
    return *all != 0 ? all : reader.u32(type + 16);
}

/// | (4) | count (4) | offsets |, in a box that begins soon after another one's end.
std::optional<std::uint64_t> first_offset(const ByteReader& reader, std::uint64_t end) {
    if (const auto wide = reader.find("co64", end, end + kMostBetween)) {
        return reader.u64(*wide + 12);
    }
    const auto narrow = reader.find("stco", end, end + kMostBetween);
    return narrow ? std::optional<std::uint64_t>(reader.u32(*narrow + 12)) : std::nullopt;
}

} // namespace

std::vector<TrackTable> find_track_tables(Bytes damaged) {
    const ByteReader reader(damaged, std::endian::big);
    std::vector<TrackTable> tables;
    for (auto type = reader.find("stsz"); type; type = reader.find("stsz", *type + 4)) {
        const auto size = table_size(reader, *type);
        const auto length = size ? first_length(reader, *type) : std::nullopt;
        const auto offset = length ? first_offset(reader, *type - 4 + *size) : std::nullopt;
        if (offset && *length != 0) {
            tables.push_back({*offset, *length});
        }
    }
    return tables;
}

/// | size (4) | "mdat" |, or | 1 (4) | "mdat" | size (8) |
std::vector<MediaBox> find_media_boxes(Bytes damaged) {
    constexpr std::uint64_t kFarthest = std::numeric_limits<std::int64_t>::max();
    const ByteReader reader(damaged, std::endian::big);
    std::vector<MediaBox> boxes;
    for (auto type = reader.find("mdat"); type; type = reader.find("mdat", *type + 4)) {
        const std::uint64_t size = *type >= 4 ? reader.u32(*type - 4).value_or(0) : 0;
        const std::uint64_t wide = size == 1 ? reader.u64(*type + 4).value_or(0) : 0;
        const std::uint64_t header = size == 1 ? 16 : 8;
        const std::uint64_t length = size == 1 ? wide : size;
        if (length >= header && length < kFarthest - *type) {
            boxes.push_back({*type - 4 + header, *type - 4 + length});
        }
    }
    return boxes;
}

} // namespace raw_mend
