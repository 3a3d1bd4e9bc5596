#pragma once

#include "judge/signs/SensorView.h"

#include <cstddef>
#include <vector>

namespace plate_mend::host {

/// What is measured of one window: some samples of one row, side by side. In sample values.
struct Window {
    double mean = 0;       ///< Level.
    double rough = 0;      ///< Mean step between neighbours of one colour; of the rougher colour.
    double leap = 0;       ///< Step of the level from the window above, in the row of the same colours.
    double usual_leap = 0; ///< Mean leap of this window in the rows just above.
};

/// The table of windows over a picture: each row is cut into windows of the same width, and what is left at
/// its right end is not measured.
class Windows {
  public:
    /// Samples per window in pictures of this many columns.
    [[nodiscard]] static std::size_t width_for(std::size_t columns);

    /// Measures the picture. The view is not kept.
    explicit Windows(const SensorView& view);

    [[nodiscard]] std::size_t width() const { return width_; }
    [[nodiscard]] std::size_t per_row() const { return per_row_; }
    [[nodiscard]] const Window& at(std::size_t y, std::size_t index) const {
        return windows_[y * per_row_ + index];
    }

  private:
    void measure(const SensorView& view, std::size_t y, std::size_t index);
    void set_usual_leaps(std::size_t y, std::size_t dy);

    std::size_t width_;
    std::size_t per_row_;
    std::vector<Window> windows_;
    std::vector<double> leaps_; ///< Of the windows.
    std::vector<double> usual_; ///< Sums for a row.
};

} // namespace plate_mend::host
