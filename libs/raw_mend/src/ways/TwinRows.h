#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// Whether a photograph has two raw images of rows, of the same frame: one for each kind of pixels of its
/// sensor. Then neither can be told from the other by its rows.
[[nodiscard]] bool has_twin(const Description& description);

/// Two images whose rows have a fixed length, found as find_fitting_rows() finds one: those that are as far
/// apart as the sample's. Nothing if the sample's image has no twin, or more than one place is possible.
[[nodiscard]] std::optional<FoundImage> find_twin_rows(Bytes damaged, const Sample& sample);

} // namespace raw_mend
