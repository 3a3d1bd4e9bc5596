#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// An image whose rows have a fixed length, found by how they fit one another. Nothing if the sample's image
/// is not such, or has a twin, or more than one place is possible.
[[nodiscard]] std::optional<FoundImage> find_fitting_rows(Bytes damaged, const Sample& sample);

} // namespace raw_mend
