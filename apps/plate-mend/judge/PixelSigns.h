#pragma once

#include "judge/signs/SensorView.h"
#include "judge/signs/Sign.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// Signs of damage in the sensor data themselves. A decoder takes whatever bytes it is given; what it makes of
// zeros, of noise or of displaced data looks like no photograph, and that can be measured. Each sign has a
// file in judge/signs, with what it measures and its limits.

namespace plate_mend::host {

/// What was found.
struct PixelSigns {
    std::vector<bool> bad_rows; ///< One per row.
    /// From this row on the data are displaced or mean something else; nothing when no such place was found.
    std::optional<std::size_t> displaced_from;
    bool place_is_known = false; ///< The displacement begins in that row, and does not only show from there.
    bool scattered =
        false; ///< Single impossible values are in rows that are not bad: any row may be damaged.
    std::vector<std::string> findings; ///< In words, at most one per sign.
};

/// Looks for all signs. A picture that is too small for that has a finding that says so.
///
///   accounted  rows whose signs are known and left out: one per row, or empty
///   of_data    signs in the coded data themselves
[[nodiscard]] PixelSigns find_signs(const SensorView& view, const std::vector<bool>& accounted = {},
                                    const std::vector<Sign>& of_data = {});

} // namespace plate_mend::host
