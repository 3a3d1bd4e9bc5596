#pragma once

#include "Bytes.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// How the inflating of a zlib stream ended.
struct ZlibCheck {
    /// Bytes from its head to after its check value. Nothing if the stream is not complete, or its check
    /// value is not that of its data.
    std::optional<std::uint64_t> length;
    std::uint64_t inflated = 0;   ///< Bytes of data up to there, or up to the first fault.
    std::uint64_t bytes_read = 0; ///< The same in the stream; a bounded number more.
};

/// Whether a zlib stream may begin so: deflate, a window that exists, no dictionary, and the check bits.
[[nodiscard]] bool may_be_zlib(Bytes bytes);

/// Inflates the stream at an offset, unless it has more than so many bytes of data. Takes time proportional
/// to the bytes read and inflated, and constant memory. Throws std::bad_alloc.
[[nodiscard]] ZlibCheck check_zlib_stream(Bytes bytes, std::uint64_t offset, std::uint64_t most);

/// A stream of so many zeros. Throws std::bad_alloc.
[[nodiscard]] std::vector<unsigned char> make_zlib_zeros(std::uint64_t length);

} // namespace raw_mend
