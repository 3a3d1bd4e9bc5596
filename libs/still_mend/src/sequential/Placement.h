#pragma once

#include "fit/Canvas.h"

#include <cstddef>
#include <limits>

namespace still_mend {

/// Where a part of a run goes in the picture.
struct Placement {
    std::size_t run = 0;
    std::size_t skip = 0; ///< MCUs at the beginning of the run that are left out.
    std::size_t count = 0;
    std::size_t position = 0; ///< That of the first MCU, in the order of the scan.
    Levels level{};
    bool sure = true; ///< Nothing else fits nearly as well.
    /// How many of its MCUs are certain, if it is sure; the others follow a seam.
    std::size_t certain = std::numeric_limits<std::size_t>::max();
};

} // namespace still_mend
