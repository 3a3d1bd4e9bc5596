#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

#include <vector>

namespace plate_mend::host {

/// Rows that fit one another only when they are shifted. With a wrong width every row is shifted against the
/// one above, all by the same number of samples.
///
///   bad_rows  those known to be bad, one per row of the view
[[nodiscard]] Sign find_wrong_width(const SensorView& view, const std::vector<bool>& bad_rows);

} // namespace plate_mend::host
