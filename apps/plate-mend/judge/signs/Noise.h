#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"
#include "judge/signs/Windows.h"

namespace plate_mend::host {

/// Runs as rough as noise over the whole range.
[[nodiscard]] Sign find_noise(const SensorView& view, const Windows& windows);

} // namespace plate_mend::host
