#pragma once

#include "container/Description.h"
#include "mend/StreamLoss.h"

namespace raw_mend {

/// The pixels that values of a piece of the raw image are, as rectangles of its frame. The piece has so many
/// values, which fill its tile or strip row by row, or that of each slice.
[[nodiscard]] std::vector<Area> areas_of(const Image& raw, std::size_t piece, std::size_t count,
                                         const ValueRun& run);

/// The whole piece.
[[nodiscard]] std::vector<Area> area_of_piece(const Image& raw, std::size_t piece);

} // namespace raw_mend
