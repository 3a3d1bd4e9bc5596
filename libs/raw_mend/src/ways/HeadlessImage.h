#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// An image of coded data without a head, found by decoding from possible places until the data decode to
/// their last value and end there. Nothing if the sample's image is not such, or no place is found.
[[nodiscard]] std::optional<FoundImage> find_headless_image(Bytes damaged, const Sample& sample);

} // namespace raw_mend
