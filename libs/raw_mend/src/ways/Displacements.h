#pragma once

#include "container/Description.h"
#include "locate/CodedHeads.h"

#include <cstdint>
#include <span>
#include <vector>

namespace raw_mend {

/// By how many bytes parts of an image are displaced from where its tables name them, modulo 2^64: each that
/// at least three pairs of neighbouring streams agree on that are as far apart as two pieces; those with the
/// most such pairs first. At most 64. Takes linearithmic time.
[[nodiscard]] std::vector<std::uint64_t> find_displacements(std::span<const Extent> named,
                                                            std::span<const CodedPlace> places);

} // namespace raw_mend
