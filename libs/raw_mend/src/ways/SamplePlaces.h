#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// An image at the place that the sample, and what survives of the damaged file's structure, let expect: a
/// guess, with nothing proved. Nothing if no place is possible, or what is at the places cannot be such an
/// image: filler, text, samples that are too large, or coded data without their heads.
[[nodiscard]] std::optional<FoundImage> find_at_sample_places(Bytes damaged, const Sample& sample);

} // namespace raw_mend
