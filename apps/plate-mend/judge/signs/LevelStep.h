#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

#include <vector>

namespace plate_mend::host {

/// The first row from which all values are higher or lower by one number than in the rows above, if the rows
/// are columns of the sensor: where each value is coded as a difference from the one before, a wrong one does
/// that to all that follow. Where a picture becomes brighter, colours differ in how much they do, and the
/// steps along the row differ far more than elsewhere. Only with a Bayer filter.
///
///   bad_rows  one per row: bad by other signs, which are left out
[[nodiscard]] Sign find_level_step(const SensorView& view, const std::vector<bool>& bad_rows);

} // namespace plate_mend::host
