#pragma once

#include "header/Hypotheses.h"
#include "header/Hypothesis.h"

#include <vector>

namespace still_mend {

/// Entropy-coded data whose whole header is lost, each with the headers of siblings: ranges of the file
/// that no candidate accounts for and in which restart markers follow one another by number, or which are
/// coded up to an EOI. At most kMaxOrphans ranges are tried.
[[nodiscard]] std::vector<Hypothesis> find_orphans(Bytes file, std::vector<Range> covered,
                                                   const std::vector<PictureCandidate>& siblings);

/// The same with the standard Huffman tables, in each sampling that cameras use: what is left where there is
/// no sibling to borrow from. The quantisation is a guess. Only those whose size can be inferred.
[[nodiscard]] std::vector<Hypothesis> find_standard_orphans(Bytes file, std::vector<Range> covered);

inline constexpr std::size_t kMaxOrphans = 4;

} // namespace still_mend
