#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

namespace plate_mend::host {

/// Runs of one value, in reading order and across the ends of rows, that begin and end abruptly, or that no
/// sensor produces.
[[nodiscard]] Sign find_runs(const SensorView& view);

} // namespace plate_mend::host
