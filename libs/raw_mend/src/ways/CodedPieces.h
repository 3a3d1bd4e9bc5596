#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// An image of lossless JPEGs, found by their heads. Nothing if the sample's image is not such, or no piece
/// is found.
[[nodiscard]] std::optional<FoundImage> find_coded_pieces(Bytes damaged, const Sample& sample);

} // namespace raw_mend
