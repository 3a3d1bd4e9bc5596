#pragma once

namespace raw_mend {

/// What becomes of pixels that are lost.
enum class Filling {
    kNeighbours, ///< They are filled from the nearest rows of the same colour.
    kZeros,      ///< They are zero, or as near to it as the coding allows.
};

} // namespace raw_mend
