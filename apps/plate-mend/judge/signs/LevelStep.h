#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

#include <vector>

namespace plate_mend::host {

/// The first row from which the values of each colour are higher or lower than in the rows above, all by
/// about the same number, if the rows are columns of the sensor: where each value is coded as a difference
/// from the one before, a wrong one does that to all that follow. Where a picture becomes brighter, the steps
/// along the row differ far more. Only with a Bayer filter.
///
///   bad_rows  one per row: bad by other signs, which are left out
[[nodiscard]] Sign find_level_step(const SensorView& view, const std::vector<bool>& bad_rows);

} // namespace plate_mend::host
