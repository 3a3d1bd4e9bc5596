#pragma once

#include "locate/RowGeometry.h"
#include "mend/ImageRange.h"

#include <span>
#include <vector>

namespace raw_mend {

/// Puts foreign clusters of an image back where they belong, if that is in the place of another one: those
/// that fit nowhere else, and nothing else there. Returns those that are still foreign. Tries each two
/// clusters of the same length; none if there are too many.
[[nodiscard]] std::vector<ImageRange> exchange_clusters(const RowGeometry& geometry,
                                                        std::span<const ImageRange> clusters,
                                                        std::vector<unsigned char>& image);

} // namespace raw_mend
