#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

#include <vector>

namespace plate_mend::host {

/// A place from which rows go on in the next row. Where bytes were lost or inserted, all that follows is
/// shifted: each row ends with the beginning of the next, and the border between both is a line from there
/// to the end. Lines are in many pictures, so this is looked for only where the view is doubtful or a row is
/// bad.
///
///   bad_rows  those known to be bad, one per row of the view
[[nodiscard]] Sign find_shift(const SensorView& view, const std::vector<bool>& bad_rows);

} // namespace plate_mend::host
