#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"

#include <cstddef>
#include <vector>

namespace raw_mend {

/// The first and the last sample of each unit: the same, except in cells.
struct Units {
    std::vector<float> first;
    std::vector<float> last;
};

/// Reads count units, whole groups of them, from bytes, which begin with a group. The bytes must hold them.
/// The last samples are read only in cells.
void read_units(const RowGeometry& geometry, Bytes bytes, std::size_t count, Units& units);

} // namespace raw_mend
