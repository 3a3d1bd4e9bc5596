#pragma once

#include "mend/StreamSeams.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace raw_mend {

/// A place of a run, and how much worse its rows fit there than at the best place: in mean misfits of a row.
struct SidePlace {
    std::ptrdiff_t rows = 0; ///< How many later.
    double worse = 0;
};

/// How rows of a run fit the slices beside it, the rows of which go on across the seams, at places up to 24
/// rows of the stream away from where it is. Without places at which too few rows have known ones beside
/// them; none at all if the slices cannot be compared.
[[nodiscard]] std::vector<SidePlace> compare_sides(const StreamFrame& frame, const StreamSlices& slices,
                                                   std::span<const std::uint16_t> values,
                                                   std::span<const RowState> states);

/// By how many rows a run must be moved by the same measure. Nothing if there are too few known rows beside
/// one of the places, or one of them does not fit clearly worse than the best.
[[nodiscard]] std::optional<std::ptrdiff_t> find_place_by_sides(const StreamFrame& frame,
                                                                const StreamSlices& slices,
                                                                std::span<const std::uint16_t> values,
                                                                std::span<const RowState> states);

} // namespace raw_mend
