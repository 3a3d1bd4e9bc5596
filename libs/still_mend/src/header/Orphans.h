#pragma once

#include "header/Hypotheses.h"
#include "header/Hypothesis.h"

#include <vector>

namespace still_mend {

/// Entropy-coded data whose whole header is lost, each with the headers of siblings: ranges of the file
/// that no candidate accounts for and in which restart markers follow one another by number. At most
/// kMaxOrphans ranges are tried.
[[nodiscard]] std::vector<Hypothesis> find_orphans(Bytes file, std::vector<Range> covered,
                                                   const std::vector<PictureCandidate>& siblings);

inline constexpr std::size_t kMaxOrphans = 4;

} // namespace still_mend
