#include "ways/CompletedTables.h"

#include "container/Describe.h"

#include <algorithm>

namespace raw_mend {

namespace {

using Copy = std::vector<unsigned char>;

constexpr std::size_t kLeastZeros = 32; ///< Fewer are part of tables.

/// The damaged file as it was before it was displaced. What was cut off at its begin is zeros.
Copy undo_displacement(Bytes damaged, std::int64_t displacement) {
    const auto distance = static_cast<std::size_t>(displacement < 0 ? -displacement : displacement);
    if (displacement >= 0) {
        const Bytes rest = damaged.subspan(std::min(distance, damaged.size()));
        return {rest.begin(), rest.end()};
    }
    Copy copy(distance);
    copy.insert(copy.end(), damaged.begin(), damaged.end());
    return copy;
}

/// Puts the sample's bytes where a table has long runs of zeros.
void fill_zeros(Copy& copy, Bytes sample, const Extent& table) {
    const auto end = static_cast<std::size_t>(std::min<std::uint64_t>(table.end(), copy.size()));
    for (auto at = static_cast<std::size_t>(table.offset); at < end;) {
        std::size_t run = at;
        while (run < end && copy[run] == 0) {
            ++run;
        }
        if (run - at >= kLeastZeros || (run > at && (at == table.offset || run == end))) {
            std::copy(sample.begin() + static_cast<std::ptrdiff_t>(at),
                      sample.begin() + static_cast<std::ptrdiff_t>(run),
                      copy.begin() + static_cast<std::ptrdiff_t>(at));
        }
        at = run + 1;
    }
}

/// Puts the sample's bytes before the first table of which most survives.
void replace_start(Copy& copy, Bytes sample, const std::vector<Extent>& tables) {
    for (const Extent& table : tables) {
        const auto begin = static_cast<std::size_t>(table.offset);
        const auto end = static_cast<std::size_t>(std::min<std::uint64_t>(table.end(), copy.size()));
        std::size_t same = 0;
        for (std::size_t at = begin; at < end; ++at) {
            same += copy[at] == sample[at] ? 1 : 0;
        }
        if (begin < end && 2 * same > end - begin) {
            return;
        }
        if (begin < end) {
            std::copy(sample.begin() + table.offset, sample.begin() + static_cast<std::ptrdiff_t>(end),
                      copy.begin() + static_cast<std::ptrdiff_t>(begin));
        }
    }
}

} // namespace

std::vector<Extent> complete_tables(Bytes damaged, const Sample& sample, std::int64_t displacement) {
    Copy copy = undo_displacement(damaged, displacement);
    const Image& raw = sample.description.raw;
    for (const Extent& table : sample.description.tables) {
        fill_zeros(copy, sample.file, table);
    }
    auto own = describe(copy);
    if (!own) {
        replace_start(copy, sample.file, sample.description.tables);
        own = describe(copy);
    }
    std::vector<Extent> pieces;
    if (!own || own->raw.frame != raw.frame || own->raw.pieces.size() != raw.pieces.size()) {
        return pieces;
    }
    for (const Piece& piece : own->raw.pieces) {
        const std::int64_t offset = static_cast<std::int64_t>(piece.data.offset) + displacement;
        if (offset < 0) {
            return {};
        }
        pieces.push_back({static_cast<std::uint64_t>(offset), piece.data.length});
    }
    return pieces;
}

} // namespace raw_mend
