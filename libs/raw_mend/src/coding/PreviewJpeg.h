#pragma once

#include "Bytes.h"

#include <cstdint>
#include <optional>

namespace raw_mend {

/// The length, with EOI, of the baseline JPEG that begins at the first byte: if it has this width and height,
/// and decodes to its end without an error or a warning. Takes time in proportion to the bytes, and memory to
/// the width.
[[nodiscard]] std::optional<std::uint64_t> measure_jpeg(Bytes bytes, std::uint32_t width,
                                                        std::uint32_t height);

} // namespace raw_mend
