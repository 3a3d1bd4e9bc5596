#pragma once

#include "jpeg/Bits.h"
#include "jpeg/Block.h"

#include <array>
#include <cstdint>

namespace still_mend {

/// The largest magnitude that a quantised coefficient of a picture of 8 bits can have, and a little more. A
/// dequantised DC coefficient is in -1024..1016, an AC coefficient within 930. Rounding adds half a step; a
/// whole step and a little more allows for careless encoders.
[[nodiscard]] constexpr std::int32_t coefficient_limit(unsigned quant) {
    constexpr std::int32_t kTransformLimit = 1100;
    return kTransformLimit / static_cast<std::int32_t>(quant) + 1;
}

/// The largest categories of a DC difference and of an AC coefficient of 8-bit samples (ITU-T T.81, tables
/// F.1 and F.2).
inline constexpr int kMostDcCategory = 11;
inline constexpr unsigned kMostAcCategory = 10;

/// A block with this many AC coefficients of -1 is not written by any camera: zeroed bytes decode to it with
/// the standard tables.
inline constexpr unsigned kAllMinusOne = 63;

/// Of AC coefficients, by zigzag position.
using CoefficientLimits = std::array<std::int32_t, 64>;

/// Decodes the AC coefficients of a block of a sequential scan. The block's are zero before. False for bits
/// that are not a code, and for coefficients beyond the 64th.
///
///   limits  makes it strict: it is false also for a coefficient beyond these, and for kAllMinusOne. If
///           null, everything that decodes is accepted.
[[nodiscard]] bool decode_sequential_ac(BitReader& reader, const HuffmanTable& table,
                                        const CoefficientLimits* limits, Block& block);

} // namespace still_mend
