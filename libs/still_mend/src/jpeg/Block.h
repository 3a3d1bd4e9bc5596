#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace still_mend {

inline constexpr std::size_t kMaxBlocksPerMcu = 10;

/// The 64 coefficients of a block, quantised, in natural order.
using Block = std::array<std::int16_t, 64>;
/// The blocks of an MCU, component by component, each row by row.
using Mcu = std::array<Block, kMaxBlocksPerMcu>;

/// Place in natural order of the k-th coefficient in zigzag order.
inline constexpr std::array<std::uint8_t, 64> kNaturalOrder{
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

} // namespace still_mend
