#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"

#include <cstddef>
#include <span>

namespace raw_mend {

/// Whether columns have no picture: they do not change from the top of a window to its bottom, except by
/// noise. The windows begin with a group of samples; units are counted from their first byte. Units past the
/// end of a row are those of the next.
[[nodiscard]] bool is_masked(std::span<const Bytes> windows, const RowGeometry& geometry,
                             std::size_t first_unit, std::size_t units);

} // namespace raw_mend
