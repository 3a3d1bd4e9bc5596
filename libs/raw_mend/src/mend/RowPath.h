#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"
#include "mend/ImageRange.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// A place in a file before which and after which an image is as if it began at different offsets.
struct RowStep {
    std::uint64_t before = 0; ///< Offset: what is before it is before the loss.
    std::uint64_t after = 0;  ///< Offset: what is from there on is after the loss.
    std::int64_t start = 0;   ///< Where the image would begin by what is after the loss.
};

/// How an image that lost sectors at several places leads from its front to its back.
struct RowPath {
    std::vector<RowStep> steps;      ///< In order; the last leads to the back.
    std::vector<ImageRange> unclear; ///< Parts of the image whose place another path shows nearly as well.
};

/// Where rows differ abruptly from those above, lays the rows after that place below those before it, as if
/// each possible number of clusters were missing between them, and takes the losses that fit best and are
/// together what is missing in all. Nothing if these are less than two, if too many are possible, or if some
/// of those that are differ by whole rows. Takes linear time.
///
///   front  offset at which the image begins by its first bytes
///   back   the same by its last bytes
[[nodiscard]] std::optional<RowPath> find_row_path(Bytes file, const RowGeometry& geometry,
                                                   std::int64_t front, std::int64_t back);

} // namespace raw_mend
