#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"
#include "mend/ImageRange.h"

#include <cstdint>
#include <span>
#include <vector>

namespace raw_mend {

/// Finds the bytes of an image that do not belong to it, although they are in the place of its own: clusters
/// whose first rows differ from those above them, and whose last rows from those below, while the rows beside
/// them do not, with both ends at whole sectors. The image is that of all rows; sectors count from any of the
/// origins, which are offsets in the image modulo a sector. By offset, apart. Takes linear time.
[[nodiscard]] std::vector<ImageRange> find_foreign_clusters(Bytes image, const RowGeometry& geometry,
                                                            std::span<const std::uint64_t> origins);

/// Whether bytes of an image fit the rows around them: the opposite, as far as one can be sure.
[[nodiscard]] bool fits_in_rows(Bytes image, const RowGeometry& geometry, const ImageRange& range);

} // namespace raw_mend
