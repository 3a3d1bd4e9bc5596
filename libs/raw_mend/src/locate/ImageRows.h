#pragma once

#include "container/Description.h"
#include "locate/RowGeometry.h"

#include <optional>

namespace raw_mend {

/// An image whose pieces are one range of rows that all have the same number of bytes.
struct ImageRows {
    Extent extent; ///< Of all pieces, in their order.
    RowGeometry geometry;
};

/// The rows of a described image; those of tiles, one tile after another. Nothing for coded data, pieces that
/// are apart or in another order, and lengths that fit no packing.
[[nodiscard]] std::optional<ImageRows> rows_of(const Image& image);

} // namespace raw_mend
