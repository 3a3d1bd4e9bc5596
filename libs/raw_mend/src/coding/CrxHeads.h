#pragma once

#include "Bytes.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// The header of a tile, a plane or a band of a CR3 track.
struct CrxHeader {
    enum class Kind { kTile, kPlane, kBand };

    Kind kind = Kind::kTile;
    unsigned code = 0;        ///< The header's first two bytes.
    unsigned size = 0;        ///< The header's own bytes, at least 12.
    std::uint64_t offset = 0; ///< The header's own offset.
    std::uint64_t length = 0; ///< The number of coded bytes that it states.
    std::uint64_t own = 0;    ///< Of these, a tile's own before its first plane: tables of quantizers.
};

/// Tracks with more headers than this are not understood. Cameras write at most a hundred.
inline constexpr std::size_t kMostCrxHeaders = 1024;

/// The headers at the start of a track's data: tiles, the planes of each after it, and the bands of each
/// plane after that. The coded bytes follow, after zeros that fill the headers up.
struct CrxHeads {
    std::vector<CrxHeader> headers; ///< The first one is a tile's.
    /// Whether each tile's length is the sum of its own bytes and its planes', and each plane's that of its
    /// bands; nearly no other bytes pass this.
    bool lengths_agree = false;

    [[nodiscard]] std::uint64_t begin() const { return headers.front().offset; }
    [[nodiscard]] std::uint64_t end() const { return headers.back().offset + headers.back().size; }
    [[nodiscard]] std::uint64_t coded_length() const; ///< The sum of all tiles.
};

/// The headers at an offset; nothing if no tile's header is there. They end before the first bytes that are
/// none, and after kMostCrxHeaders.
[[nodiscard]] std::optional<CrxHeads> read_crx_heads(Bytes bytes, std::uint64_t offset);

/// The headers at an offset that are as many as the sample's, of the same codes and sizes: those of a
/// photograph from the same camera. What follows them may look like another header.
[[nodiscard]] std::optional<CrxHeads> read_crx_heads(Bytes bytes, std::uint64_t offset,
                                                     const CrxHeads& sample);

/// All places in a damaged file with headers like the sample's, whose lengths agree if the sample's do, in
/// order. Reads each byte a bounded number of times.
[[nodiscard]] std::vector<CrxHeads> find_crx_heads(Bytes damaged, const CrxHeads& sample);

} // namespace raw_mend
