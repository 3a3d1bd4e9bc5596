#pragma once

#include <cstddef>
#include <span>

namespace still_mend {

/// A view of the damaged file or of a part of it.
using Bytes = std::span<const unsigned char>;

/// A 16-bit number, high byte first, as all numbers of a JPEG are. The two bytes must be there.
[[nodiscard]] inline unsigned read_u16(Bytes bytes, std::size_t offset) {
    return static_cast<unsigned>(bytes[offset]) << 8U | bytes[offset + 1];
}

} // namespace still_mend
