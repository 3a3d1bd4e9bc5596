#pragma once

#include "support/Bytes.h"

#include <array>
#include <cstdint>
#include <vector>

namespace test {

/// Writers of image data without a head. The samples are rows of so many columns.

/// Sony's cells of 16 bytes: 11-bit samples; the width is a multiple of 32.
[[nodiscard]] Bytes sony_cells(const std::vector<std::uint16_t>& samples, unsigned width);

/// Sony's differences: 12-bit samples, column by column from the right, in each the even rows first. The
/// number of rows is even.
[[nodiscard]] Bytes sony_differences(const std::vector<std::uint16_t>& samples, unsigned width);

/// Olympus's: 12-bit samples, after 7 bytes that decoders skip.
[[nodiscard]] Bytes olympus_run(const std::vector<std::uint16_t>& samples, unsigned width);

/// Nikon's trees, without those for what is after a split.
enum class NikonTree { kLossy12, kLossless12, kLossy14, kLossless14 };

/// Nikon's: samples of 12 or 14 bits, or their places in the curve. The first ones of even and odd rows add
/// to the given numbers.
[[nodiscard]] Bytes nikon_differences(const std::vector<std::uint16_t>& samples, unsigned width,
                                      NikonTree tree, std::uint16_t first);

/// Pentax's: as Nikon's, the first samples as they are. The lengths are those of the codes for differences of
/// 0 bits, 1 bit and so on, up to 12; each code begins where the last one ends.
[[nodiscard]] Bytes pentax_differences(const std::vector<std::uint16_t>& samples, unsigned width,
                                       const std::vector<unsigned>& lengths);

} // namespace test
