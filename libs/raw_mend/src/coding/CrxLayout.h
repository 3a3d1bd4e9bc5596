#pragma once

#include "coding/CrxHeads.h"
#include "container/Description.h"

#include <cstdint>
#include <optional>

namespace raw_mend {

/// How one sample of a CR3 track is laid out: headers, zeros that fill them up, the coded bytes that the
/// headers state, and padding.
struct CrxLayout {
    CrxHeads heads;                ///< Those of the intact photograph that was read.
    std::uint64_t header_size = 0; ///< Bytes of the headers and the zeros after them.
    std::uint64_t alignment = 1;   ///< Power of two that the length is padded to; 1 for no padding.

    /// The length of a sample with other headers of this kind.
    [[nodiscard]] std::uint64_t length(const CrxHeads& other) const;
    /// Whether headers are as many, of the same codes and sizes, and all else is the same except for lengths.
    [[nodiscard]] bool is_like(const CrxLayout& other) const;
};

/// Reads the layout of an intact sample of a track. CMP1 is the box with its parameters. Nothing if the data
/// are not headers whose lengths agree, and add up to the data's length.
[[nodiscard]] std::optional<CrxLayout> read_crx_layout(Bytes file, const Extent& data, const Extent& cmp1);

} // namespace raw_mend
