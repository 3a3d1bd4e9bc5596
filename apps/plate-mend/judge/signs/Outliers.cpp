#include "judge/signs/Outliers.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace plate_mend::host {

namespace {

constexpr std::size_t kTile = 32;       ///< Columns over which the usual step is taken.
constexpr double kTimesTheStep = 8;     ///< An outlier is so many usual steps from its nearest neighbour,
constexpr unsigned kOutlierParts = 100; ///< and one part in so many of the range.
constexpr std::size_t kMostRows = 512;  ///< That are searched: taller pictures have many.
constexpr std::size_t kFewestOutliers = 100;
constexpr std::size_t kOneInSamples = 500; ///< More than one sample in so many must be one.

/// The median step between neighbours in a tile of a row.
double usual_step(const SensorView& view, const std::uint16_t* row, std::size_t first, std::size_t end) {
    std::array<unsigned, kTile> steps{};
    std::size_t count = 0;
    for (std::size_t x = first; x + view.dx < end && count < kTile; ++x) {
        steps[count++] = step(row[x], row[x + view.dx]);
    }
    if (count == 0) {
        return 0;
    }
    unsigned* const middle = steps.data() + count / 2;
    std::nth_element(steps.data(), middle, steps.data() + count);
    return *middle;
}

/// How far a sample is from the nearest of its neighbours, if it is above or below all of them.
unsigned distance(const SensorView& view, std::size_t y, std::size_t x) {
    const std::uint16_t* row = view.row(y);
    const std::array<unsigned, 4> around = {row[x - view.dx], row[x + view.dx], view.row(y - view.dy)[x],
                                            view.row(y + view.dy)[x]};
    const auto [least, most] = std::minmax_element(around.begin(), around.end());
    const unsigned own = row[x];
    return own > *most ? own - *most : own < *least ? *least - own : 0;
}

std::size_t count_outliers(const SensorView& view, std::size_t y) {
    std::size_t count = 0;
    for (std::size_t first = view.dx; first + view.dx < view.columns; first += kTile) {
        const std::size_t end = std::min(first + kTile, view.columns - view.dx);
        const double limit = std::max(static_cast<double>(view.range()) / kOutlierParts,
                                      kTimesTheStep * usual_step(view, view.row(y), first, end + view.dx));
        for (std::size_t x = first; x < end; ++x) {
            count += distance(view, y, x) > limit ? 1U : 0U;
        }
    }
    return count;
}

} // namespace

Sign find_outliers(const SensorView& view, const std::vector<bool>& bad_rows) {
    std::size_t outliers = 0;
    std::size_t samples = 0;
    const std::size_t apart = view.rows / kMostRows + 1;
    for (std::size_t y = view.dy; y + view.dy < view.rows; y += apart) {
        if (!bad_rows[y - view.dy] && !bad_rows[y] && !bad_rows[y + view.dy]) {
            outliers += count_outliers(view, y);
            samples += view.columns;
        }
    }
    if (outliers < kFewestOutliers || outliers * kOneInSamples <= samples) {
        return {};
    }
    return {std::to_string(outliers * apart) + " values are far from all of their neighbours",
            {},
            Displaced{0, false}};
}

} // namespace plate_mend::host
