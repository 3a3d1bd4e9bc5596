#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

#include <vector>

namespace plate_mend::host {

/// Single values that are far above or far below all four neighbours of their colour, in far more places than
/// a sensor's faults and small lights explain. Nothing shows which rows are as they were.
///
///   bad_rows  one per row: bad by other signs, which are left out
[[nodiscard]] Sign find_outliers(const SensorView& view, const std::vector<bool>& bad_rows);

} // namespace plate_mend::host
