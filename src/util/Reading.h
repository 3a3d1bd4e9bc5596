#pragma once

#include "util/MMap.h"

#include <cstdint>

// How all models read and write through the cursor of an MMAP.
//
// Numbers are read byte by byte, the first byte most significant, whatever the file's byte order: the value
// holds the file's bytes in file order, and has to be swapped for the number in a little-endian file. The
// cursor ends on a value's last byte, not after it. So the first value of a run is read with read_u16 or
// read_u32 (first byte at the cursor), each further one with read_next_u16 or read_next_u32 (first byte after
// an advance(1)).
//
// Every access is checked. Past the last byte, or with nothing mapped, it throws OutRangeException; the
// cursor is then where the last successful step left it.

namespace plate_mend {

[[nodiscard]] std::uint16_t read_u16(MMAP& map);
[[nodiscard]] std::uint32_t read_u32(MMAP& map);
[[nodiscard]] std::uint16_t read_next_u16(MMAP& map);
[[nodiscard]] std::uint32_t read_next_u32(MMAP& map);

/// Writes one byte at the cursor, then advance(1). So a write to the last byte of the file takes place and
/// throws: see docs/compatibility.md, All formats. The mapping must be writable.
void write_byte(MMAP& map, unsigned char value);

/// Writes four bytes as write_byte does, most significant first.
void write_u32(MMAP& map, std::uint32_t value);

/// count times: write 0 at the cursor, advance(1).
void write_zeros(MMAP& map, std::uint64_t count);

/// The value with its bytes in reverse order.
[[nodiscard]] constexpr std::uint16_t swap_bytes(std::uint16_t value) {
    return static_cast<std::uint16_t>((value << 8U) | (value >> 8U));
}
[[nodiscard]] constexpr std::uint32_t swap_bytes(std::uint32_t value) {
    return (value << 24U) | ((value & 0xFF00U) << 8U) | ((value >> 8U) & 0xFF00U) | (value >> 24U);
}

} // namespace plate_mend
