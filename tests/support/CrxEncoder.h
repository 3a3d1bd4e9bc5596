#pragma once

#include "support/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace test {

/// Length of the headers before the planes of a picture by encode_crx: its CMP1 box must state it.
inline constexpr std::size_t kCrxHeaderSize = 112;

/// The bytes of a raw track of a Canon CR3 file: a lossless picture taken through an RGGB filter, as one tile
/// without wavelet levels. The samples are rows of width numbers of the given bits, 9 to 14. Width and height
/// are even, and at least 44. CrxEncoder.cpp describes the layout.
[[nodiscard]] Bytes encode_crx(const std::vector<std::uint16_t>& samples, unsigned width, unsigned height,
                               unsigned bits);

/// The same with tiles of a width, side by side. The width of each, even the last one, is at least 44 and
/// even. CMP1 must state the length of the headers: 108 for each tile, up to a multiple of 8.
[[nodiscard]] Bytes encode_crx(const std::vector<std::uint16_t>& samples, unsigned width, unsigned height,
                               unsigned bits, unsigned tile_width);

} // namespace test
