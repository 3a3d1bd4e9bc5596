#pragma once

#include "mend/StreamWalk.h"

namespace raw_mend {

/// Differences of a stream, decoded through damage: where nothing can be decoded, it goes on at a later byte.
/// Codes fall into step by themselves after foreign bits, so that most are the photograph's own; how many
/// values are missing between two of them is not known.
struct StreamChain {
    std::size_t first = 0; ///< The value that the first one would be for.
    std::vector<std::uint16_t> differences;
    std::vector<std::uint64_t> bytes; ///< Where every kStride-th begins, in the stream.
    bool is_closed = false;           ///< Whether the last one is the last of the stream.

    static constexpr std::size_t kStride = 64;

    [[nodiscard]] std::size_t size() const { return differences.size(); }
    [[nodiscard]] int difference(std::size_t at) const { return static_cast<std::int16_t>(differences[at]); }
    /// About where a difference begins in the stream.
    [[nodiscard]] std::uint64_t byte_of(std::size_t at) const;
};

/// The chain from a value on, up to where EOI ends; at most twice as many differences as the frame has
/// values.
[[nodiscard]] StreamChain decode_chain(const StreamWalk& walk, const StreamPlace& from, std::uint64_t end);

} // namespace raw_mend
