#pragma once

#include "jpeg/Block.h"

#include <array>
#include <cstdint>

namespace still_mend {

/// Steps between samples are counted in sixteenths of a level of brightness.
inline constexpr int kLevel = 16;

using BorderSamples = std::array<float, 4>;

/// Brightness along the borders of a block in sixteenths of a level, each sample the mean of two pixels.
struct BlockBorders {
    BorderSamples top{};
    BorderSamples bottom{};
    BorderSamples left{};
    BorderSamples right{};
};

/// The inverse transform at the borders only (ITU-T T.81, A.3.3). The table is in natural order.
[[nodiscard]] BlockBorders borders_of(const Block& block, const std::array<std::uint16_t, 64>& quant);

} // namespace still_mend
