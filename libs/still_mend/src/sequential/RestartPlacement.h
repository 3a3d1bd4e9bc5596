#pragma once

#include "sequential/Placement.h"
#include "sequential/Survey.h"

#include <vector>

namespace still_mend {

/// Gives the runs of a scan with restarts their places: by the numbers of the markers, by the bytes lost
/// between them where more than eight intervals may be missing, by the fit with what is above, and from the
/// end of the scan. Runs that end where they must are placed whole; those broken directly after them, up to
/// the damage.
[[nodiscard]] std::vector<Placement> place_restarts(const ScanData& data, const Survey& survey,
                                                    Canvas& canvas);

} // namespace still_mend
