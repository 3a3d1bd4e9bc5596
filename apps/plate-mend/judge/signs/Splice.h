#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"
#include "judge/signs/Windows.h"

#include <vector>

namespace plate_mend::host {

/// The first place from which the data are another picture's: the right part of a row differs from the row
/// above, then all of the next row, which has other colours, then the left part of the one after that, and
/// the rows before and after these do not. Levels need not change by much, and need not all change. Places
/// near the ends of rows are left out, where a level border in the picture looks the same. Only with a Bayer
/// filter.
///
///   bad_rows  one per row: bad by other signs, which are left out
[[nodiscard]] Sign find_splice(const SensorView& view, const Windows& windows,
                               const std::vector<bool>& bad_rows);

} // namespace plate_mend::host
