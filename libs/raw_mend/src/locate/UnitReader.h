#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"

#include <cstddef>
#include <vector>

namespace raw_mend {

/// The samples of each unit that are at its ends. Only cells have more than the first.
struct Units {
    std::vector<float> first;
    std::vector<float> second;
    std::vector<float> last_but_one;
    std::vector<float> last;
};

/// Reads count units, whole groups of them, from bytes, which begin with a group. The bytes must hold them.
/// The other samples are read only in cells.
void read_units(const RowGeometry& geometry, Bytes bytes, std::size_t count, Units& units);

} // namespace raw_mend
