#pragma once

#include "fit/Canvas.h"

#include <cstddef>

namespace still_mend {

/// Where a part of a run goes in the picture.
struct Placement {
    std::size_t run = 0;
    std::size_t skip = 0; ///< MCUs at the beginning of the run that are left out.
    std::size_t count = 0;
    std::size_t position = 0; ///< That of the first MCU, in the order of the scan.
    Levels level{};
    bool sure = true; ///< Nothing else fits nearly as well.
};

} // namespace still_mend
