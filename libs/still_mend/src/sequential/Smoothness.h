#pragma once

#include "sequential/Survey.h"

namespace still_mend {

/// A step counts as at most this many rough ones: an edge of the picture is no more than a few MCUs of noise.
inline constexpr double kMostRough = 4;

/// This many neighbours count as one: their steps are nearly the same.
inline constexpr double kNeighbours = 4;

/// The step from which on a border is rough, where the typical step is this: three times as large, and two
/// levels more. The same bound finds breaks (BreakSearch) and judges places (RestartPlacement, RowFit).
[[nodiscard]] double rough_step(double typical);

/// How many of the MCUs [first, last) come before the borders turn rough: what precedes the error that ended
/// a run may be noise that happened to decode. typical is the usual step to the right in this picture.
[[nodiscard]] std::size_t smooth_prefix(const McuTraces& traces, std::size_t first, std::size_t last,
                                        double typical);

/// The median step to the right within the runs: those that close, or all where none does.
[[nodiscard]] double typical_step(const Survey& survey);

} // namespace still_mend
