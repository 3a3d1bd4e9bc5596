#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

#include <vector>

namespace plate_mend::host {

/// Tiles that do not fit one another: levels change far more across their borders than beside them. None
/// where there are no tiles, and where these are no wider than dx.
///
///   left_out  rows that do not count: one per row, or empty
[[nodiscard]] Sign find_seams(const SensorView& view, const std::vector<bool>& left_out = {});

} // namespace plate_mend::host
