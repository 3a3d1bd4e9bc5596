#pragma once

#include "sequential/Placement.h"
#include "sequential/Survey.h"

#include <vector>

namespace still_mend {

/// Gives the runs of a scan without restarts their places. The first is at the beginning; if it broke off,
/// the part before the damage is placed. Those after damage are placed from the end of the scan, if that
/// survives, or where they fit what is above; their DC values are levelled with it.
[[nodiscard]] std::vector<Placement> place_plain(const ScanData& data, const Survey& survey, Canvas& canvas);

} // namespace still_mend
