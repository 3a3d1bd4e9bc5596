#pragma once

#include "util/MMap.h"

#include <cstdint>
#include <ostream>
#include <span>

namespace plate_mend {

/// count bytes of a mapped file from the offset on, as a view of the mapping. Throws OutRangeException when
/// the slice is not inside the mapping; an empty slice at its very end is.
[[nodiscard]] std::span<const unsigned char> slice(const MMAP& map, std::uint64_t offset,
                                                   std::uint64_t count);

/// The bytes of a mapped file from the offset to its end. Throws OutRangeException for an offset past it.
[[nodiscard]] std::span<const unsigned char> slice_to_end(const MMAP& map, std::uint64_t offset);

/// Inserts the bytes into a stream, without a copy in memory. The stream keeps its state; nothing throws
/// unless the stream is set to.
void insert_bytes(std::ostream& stream, std::span<const unsigned char> bytes);

} // namespace plate_mend
