#pragma once

#include "mend/StreamSeams.h"

#include <optional>
#include <vector>

namespace raw_mend {

/// The columns at the left of a sensor that no light reaches. Their values are noise around the camera's
/// black level, so they show at which level the values of a stream are.
struct MaskedBorder {
    std::size_t columns = 0;    ///< Those that are masked for certain.
    std::vector<double> levels; ///< Means, by component.

    /// Columns that may be masked.
    [[nodiscard]] std::size_t reach() const { return columns == 0 ? 0 : columns + kGroup; }

    static constexpr std::size_t kGroup = 16; ///< Columns that are judged together.
};

/// The masked columns of a stream whose values are all there. None if it has no slices of its own rows, or if
/// no more than half of its columns show a picture.
[[nodiscard]] MaskedBorder find_masked_border(const StreamFrame& frame, const StreamSlices& slices,
                                              std::span<const std::uint16_t> values);

/// Whether the border is masked in the values from an index on, too. If not, they are not the columns that
/// they should be, or too few rows of them.
[[nodiscard]] bool has_masked_border(const StreamSlices& slices, std::span<const std::uint16_t> values,
                                     const MaskedBorder& border, std::size_t from);

/// How far the border of a run is from its level in known rows, and, where few or none are known, from that
/// of another photograph of the camera. None if too few rows of the run have a border.
[[nodiscard]] std::vector<LevelEstimate> measure_border(const StreamFrame& frame, const StreamSlices& slices,
                                                        std::span<const std::uint16_t> values,
                                                        std::span<const RowState> states,
                                                        const MaskedBorder& border);

} // namespace raw_mend
