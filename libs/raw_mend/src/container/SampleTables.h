#pragma once

#include "container/Boxes.h"

#include <cstdint>
#include <vector>

namespace raw_mend {

/// The samples of a track as pieces, by the tables in its "stbl": "stsz", "stsc", and "co64" or "stco". The
/// offset of a sample that is not the first of its chunk is the chunk's, with the lengths of the samples
/// before it as base. What the tables contradict each other in is noted; a missing "stsc" means one sample
/// per chunk.
[[nodiscard]] std::vector<Piece> read_samples(Inventory& inventory, const std::vector<Box>& stbl);

} // namespace raw_mend
