#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

#include <vector>

namespace plate_mend::host {

/// The first row from which all values of a colour are higher or lower by one number than in the rows above:
/// a wrong difference at the start of a row of coded data does that. Where a picture becomes brighter, all
/// colours do, and the steps along the row differ far more than elsewhere. Only with a Bayer filter; all
/// colours may step where the data go column by column, by the same number.
///
///   bad_rows  one per row: bad by other signs, which are left out
[[nodiscard]] Sign find_level_step(const SensorView& view, const std::vector<bool>& bad_rows);

} // namespace plate_mend::host
