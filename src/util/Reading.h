#pragma once

#include "util/MMap.h"

#include <cstdint>

// How all models read and write through the cursor of an MMAP.
//
// Numbers are taken byte by byte, first byte in the high position, whatever the file's byte order: a value
// so read holds the file's bytes in file order, and who wants the number of a little-endian file swaps it.
// The cursor ends on a value's last byte, not behind it. So the first value of a run is read with read_u16
// or read_u32 (first byte at the cursor), each further one with read_next_u16 or read_next_u32 (first byte
// behind an advance(1)).
//
// Every access is checked. Past the last byte, or with nothing mapped, it throws OutRangeException; the
// cursor then stands where the last good step left it.

namespace plate_mend {

[[nodiscard]] std::uint16_t read_u16(MMAP& map);
[[nodiscard]] std::uint32_t read_u32(MMAP& map);
[[nodiscard]] std::uint16_t read_next_u16(MMAP& map);
[[nodiscard]] std::uint32_t read_next_u32(MMAP& map);

/// Writes one byte at the cursor, then advance(1). So a write on the last byte is made and throws. The
/// mapping must be writable.
void write_byte(MMAP& map, unsigned char value);

/// Writes four bytes as write_byte does, the most significant first.
void write_u32(MMAP& map, std::uint32_t value);

/// count times: write 0 at the cursor, advance(1).
void write_zeros(MMAP& map, std::uint64_t count);

/// The value with its bytes in the opposite order.
[[nodiscard]] constexpr std::uint16_t swap_bytes(std::uint16_t value) {
    return static_cast<std::uint16_t>((value << 8U) | (value >> 8U));
}
[[nodiscard]] constexpr std::uint32_t swap_bytes(std::uint32_t value) {
    return (value << 24U) | ((value & 0xFF00U) << 8U) | ((value >> 8U) & 0xFF00U) | (value >> 24U);
}

} // namespace plate_mend
