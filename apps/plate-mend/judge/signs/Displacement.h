#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"
#include "judge/signs/Windows.h"

#include <vector>

namespace plate_mend::host {

/// The first place from which all levels are displaced. Where that begins in the middle of a row, the right
/// part of the row leaps, and the left part dy rows further down; a border in the picture does not do that.
/// The end of bad rows at the top of the picture does, and is left out.
///
///   bad_rows  one per row: bad by other signs
[[nodiscard]] Sign find_displacement(const SensorView& view, const Windows& windows,
                                     const std::vector<bool>& bad_rows);

} // namespace plate_mend::host
