#pragma once

#include "sequential/Placement.h"
#include "sequential/Survey.h"

#include <vector>

namespace still_mend {

/// Gives the runs of a scan without restarts their places. The first stands at the beginning; of one that
/// broke off, the part before the damage is taken. Those behind damage are placed from the end of the scan,
/// where that is there, or where they fit what stands above; their DC values are levelled with it.
[[nodiscard]] std::vector<Placement> place_plain(const ScanData& data, const Survey& survey, Canvas& canvas);

} // namespace still_mend
