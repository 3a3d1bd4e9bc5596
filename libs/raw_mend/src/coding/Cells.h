#pragma once

#include "Bytes.h"

#include <cstddef>

namespace raw_mend {

/// Bytes of a cell: Sony's fixed rate.
inline constexpr std::size_t kCellBytes = 16;

/// Whether the first kCellBytes can be a cell: its greatest sample is not less than its least, the two are at
/// different places, and no other sample is above the greatest. One in a few hundred random cells is.
[[nodiscard]] bool is_cell(const unsigned char* bytes);

/// Whether bytes are cells side by side, and nothing else; at least one.
[[nodiscard]] bool are_cells(Bytes bytes);

} // namespace raw_mend
