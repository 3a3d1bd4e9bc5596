#pragma once

#include "mend/StreamSeams.h"

namespace raw_mend {

/// What is to be added to the second of two components, less what is to be added to the first.
struct GreenBalance {
    double difference = 0;
    double error = 0; ///< Standard error.
};

/// Compares the green values of the two components, which are next to each other diagonally, in a run with
/// those that are known. Nothing if there are not two components, or too few rows.
///
///   slices  the whole stream as one, if there are no others
[[nodiscard]] std::optional<GreenBalance> measure_greens(const StreamFrame& frame, const StreamSlices& slices,
                                                         std::span<const std::uint16_t> values,
                                                         std::span<const RowState> states);

} // namespace raw_mend
