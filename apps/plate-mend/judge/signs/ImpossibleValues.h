#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

namespace plate_mend::host {

/// Rows with values that the samples' width in bits does not allow, or far below black.
[[nodiscard]] Sign find_impossible_values(const SensorView& view);

} // namespace plate_mend::host
