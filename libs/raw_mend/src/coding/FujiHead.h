#pragma once

#include "Bytes.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// The head of the compressed data of a RAF: the frame, and the lengths of its blocks, which are columns.
/// They follow one another without gaps.
struct FujiHead {
    std::uint64_t offset = 0;
    std::uint64_t data = 0; ///< Offset of the first block.
    unsigned type = 0;      ///< 0 for a filter of 2 by 2, 16 for one of 6 by 6.
    unsigned bits = 0;      ///< Per sample: 12, 14 or 16.
    unsigned width = 0;
    unsigned height = 0; ///< Six rows per line.
    unsigned block_width = 0;
    std::vector<std::uint32_t> lengths; ///< The blocks' lengths in bytes; at most 255.

    [[nodiscard]] std::uint64_t end() const; ///< After the last block.
    /// Whether all is the same except for the offset and the lengths: a photograph from the same camera.
    [[nodiscard]] bool is_like(const FujiHead& other) const;
};

/// The head at an offset; nothing if none is there, or if its numbers contradict one another.
[[nodiscard]] std::optional<FujiHead> read_fuji_head(Bytes bytes, std::uint64_t offset);

/// All places in a damaged file with a head like the sample's, in order. Reads each byte a bounded number of
/// times.
[[nodiscard]] std::vector<FujiHead> find_fuji_heads(Bytes damaged, const FujiHead& sample);

} // namespace raw_mend
