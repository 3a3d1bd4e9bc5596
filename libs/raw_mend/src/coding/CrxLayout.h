#pragma once

#include "coding/CrxHeads.h"
#include "container/Description.h"

#include <cstdint>
#include <optional>

namespace raw_mend {

/// The geometry of a raw track, as its CMP1 states it.
struct CrxFrame {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t tile_width = 0;
    std::uint64_t tile_height = 0;
    unsigned bits = 0;   ///< Per sample.
    unsigned planes = 0; ///< Of a tile.
    unsigned levels = 0; ///< Of wavelets; 0 for lossless.
    bool operator==(const CrxFrame&) const = default;
};

/// How one sample of a CR3 track is laid out: headers, zeros that fill them up, the coded bytes that the
/// headers state, and padding.
struct CrxLayout {
    CrxHeads heads;                ///< Those of the intact photograph that was read.
    std::uint64_t header_size = 0; ///< Bytes of the headers and the zeros after them.
    CrxFrame frame;
    std::uint64_t alignment = 1; ///< Power of two that the length is padded to; 1 for no padding.

    /// The length of a sample with other headers of this kind.
    [[nodiscard]] std::uint64_t length(const CrxHeads& other) const;
    /// Whether there are as many headers, of the same codes and sizes, and with the same padding.
    [[nodiscard]] bool has_headers_like(const CrxLayout& other) const;
    /// The same, and the geometry is the same: only lengths may differ.
    [[nodiscard]] bool is_like(const CrxLayout& other) const {
        return frame == other.frame && has_headers_like(other);
    }
};

/// Reads the layout of an intact sample of a track. CMP1 is the box with its parameters. Nothing if the data
/// are not headers whose lengths agree, and add up to the data's length.
[[nodiscard]] std::optional<CrxLayout> read_crx_layout(Bytes file, const Extent& data, const Extent& cmp1);

} // namespace raw_mend
