#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// An image of baseline JPEGs (DNG's lossy compression), found by their heads and decoded to their ends.
/// Nothing if the sample's image is not such, or nothing shows which pieces were found.
[[nodiscard]] std::optional<FoundImage> find_lossy_pieces(Bytes damaged, const Sample& sample);

} // namespace raw_mend
