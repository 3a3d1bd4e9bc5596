#pragma once

#include "container/Description.h"

#include <cstdint>
#include <optional>

namespace raw_mend {

/// The frame header of a JPEG.
struct JpegHead {
    bool is_lossless = false; ///< SOF3.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    unsigned bits = 0;
    unsigned components = 0;
    bool operator==(const JpegHead&) const = default;
};

/// Reads the first frame header of the JPEG that begins at the extent's start; nothing if there is no JPEG,
/// or its frame header is not among the first segments. Looks at no byte outside the extent, and at a bounded
/// number.
[[nodiscard]] std::optional<JpegHead> read_jpeg_head(Bytes bytes, const Extent& extent);

} // namespace raw_mend
