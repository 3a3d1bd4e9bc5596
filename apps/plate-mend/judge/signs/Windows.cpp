#include "judge/signs/Windows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace plate_mend::host {

namespace {

/// Windows are as wide as possible with enough of them side by side: 16 or more in pictures of 1024 columns,
/// 10 in those of 320.
constexpr std::size_t kWide = 64;
constexpr std::size_t kMedium = 32;
constexpr std::size_t kNarrow = 16;
constexpr std::size_t kColumnsForWide = 1024;
constexpr std::size_t kColumnsForMedium = 320;

/// Rows above over which the usual leap is taken.
constexpr std::size_t kRowsAbove = 12;

/// What is summed over the samples of a window.
struct WindowSums {
    std::uint32_t levels = 0;
    /// Steps between neighbours, of even and of odd columns: a stream may have lost its place in one colour.
    std::array<std::uint32_t, 2> steps{};
};

/// Samples that are summed at a time: a window has whole multiples of them.
constexpr std::size_t kLanes = 16;

/// Samples at the left end of the row have no neighbour.
WindowSums sums_of(const SensorView& view, const std::uint16_t* row, std::size_t first, std::size_t width) {
    std::array<std::uint32_t, kLanes> levels{};
    std::array<std::uint32_t, kLanes> steps{};
    const std::size_t alone = std::min(first + width, std::max(first, view.dx));
    for (std::size_t x = first; x < alone; ++x) {
        levels[x % kLanes] += row[x];
    }
    // Up to the next whole group, and then in groups.
    std::size_t x = alone;
    for (; x < first + width && x % kLanes != 0; ++x) {
        levels[x % kLanes] += row[x];
        steps[x % kLanes] += step(row[x], row[x - view.dx]);
    }
    for (; x < first + width; x += kLanes) {
        const std::uint16_t* const own = row + x;
        const std::uint16_t* const left = own - view.dx;
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            levels[lane] += own[lane];
        }
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            steps[lane] += static_cast<std::uint32_t>(std::abs(int{own[lane]} - int{left[lane]}));
        }
    }
    WindowSums sums;
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
        sums.levels += levels[lane];
        sums.steps[lane % 2] += steps[lane];
    }
    return sums;
}

} // namespace

std::size_t Windows::width_for(std::size_t columns) {
    return columns >= kColumnsForWide ? kWide : columns >= kColumnsForMedium ? kMedium : kNarrow;
}

Windows::Windows(const SensorView& view)
    : width_(width_for(view.columns)), per_row_(view.columns / width_), windows_(view.rows * per_row_),
      leaps_(view.rows * per_row_) {
    for (std::size_t y = 0; y < view.rows; ++y) {
        for (std::size_t index = 0; index < per_row_; ++index) {
            measure(view, y, index);
        }
        set_usual_leaps(y, view.dy);
    }
}

void Windows::measure(const SensorView& view, std::size_t y, std::size_t index) {
    const WindowSums sums = sums_of(view, view.row(y), index * width_, width_);
    const auto samples = static_cast<double>(width_);
    const std::size_t place = y * per_row_ + index;
    Window& window = windows_[place];
    window.mean = static_cast<double>(sums.levels) / samples;
    window.rough = 2.0 * static_cast<double>(std::max(sums.steps[0], sums.steps[1])) / samples;
    window.leap = y < view.dy ? 0 : std::abs(window.mean - at(y - view.dy, index).mean);
    leaps_[place] = window.leap;
}

void Windows::set_usual_leaps(std::size_t y, std::size_t dy) {
    usual_.assign(per_row_, 0);
    std::size_t count = 0;
    for (std::size_t above = y > kRowsAbove ? y - kRowsAbove : 0; above + dy <= y; ++above) {
        const double* const leaps = leaps_.data() + above * per_row_;
        for (std::size_t index = 0; index < per_row_; ++index) {
            usual_[index] += leaps[index];
        }
        ++count;
    }
    for (std::size_t index = 0; index < per_row_; ++index) {
        windows_[y * per_row_ + index].usual_leap =
            count == 0 ? 0 : usual_[index] / static_cast<double>(count);
    }
}

} // namespace plate_mend::host
