#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

namespace plate_mend::host {

/// Tiles that do not fit one another: levels change far more across their borders than beside them. None
/// where there are no tiles, and where these are no wider than dx.
[[nodiscard]] Sign find_seams(const SensorView& view);

} // namespace plate_mend::host
