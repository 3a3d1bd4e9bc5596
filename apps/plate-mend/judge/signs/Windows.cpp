#include "judge/signs/Windows.h"

#include <array>
#include <cmath>
#include <cstdint>

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

} // namespace

std::size_t Windows::width_for(std::size_t columns) {
    return columns >= kColumnsForWide ? kWide : columns >= kColumnsForMedium ? kMedium : kNarrow;
}

Windows::Windows(const SensorView& view)
    : width_(width_for(view.columns)), per_row_(view.columns / width_), windows_(view.rows * per_row_) {
    for (std::size_t y = 0; y < view.rows; ++y) {
        for (std::size_t index = 0; index < per_row_; ++index) {
            measure(view, y, index);
        }
    }
}

void Windows::measure(const SensorView& view, std::size_t y, std::size_t index) {
    const std::uint16_t* row = view.row(y);
    std::uint64_t sum = 0;
    // Each colour by itself: a stream may have lost its place in one of them.
    std::array<std::uint64_t, 2> steps{};
    for (std::size_t x = index * width_; x < (index + 1) * width_; ++x) {
        sum += row[x];
        steps[x % 2] += x >= view.dx ? step(row[x], row[x - view.dx]) : 0;
    }
    const auto samples = static_cast<double>(width_);
    Window& window = windows_[y * per_row_ + index];
    window.mean = static_cast<double>(sum) / samples;
    window.rough = 2.0 * static_cast<double>(std::max(steps[0], steps[1])) / samples;
    window.leap = y < view.dy ? 0 : std::abs(window.mean - at(y - view.dy, index).mean);
    window.usual_leap = usual_leap(y, index, view.dy);
}

double Windows::usual_leap(std::size_t y, std::size_t index, std::size_t dy) const {
    double sum = 0;
    std::size_t count = 0;
    for (std::size_t above = y > kRowsAbove ? y - kRowsAbove : 0; above + dy <= y; ++above) {
        sum += at(above, index).leap;
        ++count;
    }
    return count == 0 ? 0 : sum / static_cast<double>(count);
}

} // namespace plate_mend::host
