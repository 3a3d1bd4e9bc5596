#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace plate_mend::host {

/// A picture in coarse blocks, row by row.
struct BlockGrid {
    std::size_t columns = 0;
    std::size_t rows = 0;

    [[nodiscard]] std::size_t size() const { return columns * rows; }
};

/// How well a preview shows a picture.
struct BlockFit {
    double contrast = 0;          ///< Deviation of the preview's blocks, in 8-bit levels.
    double scatter = 0;           ///< Usual difference of a block, in 8-bit levels.
    std::size_t largest_area = 0; ///< Blocks side by side that differ far more than usual.
};

/// Fits the preview's blocks with those of the picture, whatever the camera's tone curve and colours: its
/// light is taken for a weighted sum of the picture's colours, and then for a steady function of that sum.
///
///   colours  linear red, green and blue of each block of the picture, 0 to 1
///   light    of each block of the preview, 0 to 255; negative: not to be counted
[[nodiscard]] BlockFit fit_blocks(const BlockGrid& grid, const std::vector<std::array<double, 3>>& colours,
                                  const std::vector<double>& light);

} // namespace plate_mend::host
