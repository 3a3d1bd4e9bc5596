#pragma once

#include "coding/Headless.h"

#include <array>
#include <cstdint>
#include <memory>

namespace raw_mend {

/// An image of differences, row by row: each value is that of its colour to the left plus a difference, the
/// first two of a row those of the row two above.
struct DifferenceRows {
    std::uint64_t columns = 0;
    std::uint64_t rows = 0;
    std::array<std::array<int, 2>, 2> first{}; ///< What the first values of even and odd rows add to.
    int values = 0;                            ///< They are less than this.
    std::shared_ptr<const DifferenceCodes> codes;
    std::uint64_t split = 0; ///< The row from which on the codes are others; 0 for none.
    std::shared_ptr<const DifferenceCodes> codes_after_split{};
};

/// The coding of such an image.
[[nodiscard]] HeadlessCoding coding_of(const DifferenceRows& image);

} // namespace raw_mend
