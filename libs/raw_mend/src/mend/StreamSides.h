#pragma once

#include "mend/StreamSeams.h"

#include <cstddef>
#include <optional>

namespace raw_mend {

/// How many rows of the stream a run is from where it belongs, by the slices beside it: their rows go on
/// across the seams. Looks at places up to 24 rows away. Nothing if no place fits clearly better than all
/// others, or too few rows of the run have known ones beside them.
[[nodiscard]] std::optional<std::ptrdiff_t> find_place_by_sides(const StreamFrame& frame,
                                                                const StreamSlices& slices,
                                                                std::span<const std::uint16_t> values,
                                                                std::span<const RowState> states);

} // namespace raw_mend
