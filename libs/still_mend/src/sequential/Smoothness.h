#pragma once

#include "sequential/Survey.h"

namespace still_mend {

/// How many of the MCUs [first, last) come before the borders turn rough: what precedes the error that ended
/// a run may be noise that happened to decode. Typical is the usual step to the right in this picture.
[[nodiscard]] std::size_t smooth_prefix(const McuTraces& traces, std::size_t first, std::size_t last,
                                        double typical);

/// The median step to the right within the runs: those that close, or all where none does.
[[nodiscard]] double typical_step(const Survey& survey);

} // namespace still_mend
