#pragma once

#include "Bytes.h"
#include "locate/ByteRange.h"

#include <cstddef>
#include <vector>

namespace raw_mend {

/// Runs of at least so many cells side by side, by offset. Runs at different phases may overlap, by chance.
/// Each byte is read a bounded number of times.
[[nodiscard]] std::vector<ByteRange> find_cell_runs(Bytes file, std::size_t least_cells);

} // namespace raw_mend
