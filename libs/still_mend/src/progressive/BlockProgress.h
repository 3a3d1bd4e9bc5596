#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace still_mend {

/// What each block of a component has.
struct BlockProgress {
    std::size_t wide = 0;
    std::vector<bool> dc;      ///< The first DC scan contained the block.
    std::vector<bool> broken;  ///< A scan that covers it failed there, so that later ones cannot go on.
    std::vector<bool> unsure;  ///< It decoded, but its interval did not end where it must.
    std::vector<bool> guessed; ///< The same of the first DC scan.
    std::array<int, 64> missing_bits{}; ///< By zigzag position; -1 before the first scan.
};

} // namespace still_mend
