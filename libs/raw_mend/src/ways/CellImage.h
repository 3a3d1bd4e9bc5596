#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// An image of Sony's cells, found by what every cell keeps to: as many side by side as the image has.
/// Nothing if the sample's image is not such, some of its cells are lost, or nothing shows where among more
/// cells it begins.
[[nodiscard]] std::optional<FoundImage> find_cell_image(Bytes damaged, const Sample& sample);

} // namespace raw_mend
