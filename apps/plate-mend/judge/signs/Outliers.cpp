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

/// How far a sample is from the nearest of its neighbours, if it is above or below all of them; otherwise 0.
int distance(const SensorView& view, std::size_t y, std::size_t x) {
    const std::uint16_t* row = view.row(y);
    const int left = row[x - view.dx];
    const int right = row[x + view.dx];
    const int above = view.row(y - view.dy)[x];
    const int below = view.row(y + view.dy)[x];
    const int most = std::max(std::max(left, right), std::max(above, below));
    const int least = std::min(std::min(left, right), std::min(above, below));
    const int own = row[x];
    return std::max(0, std::max(own - most, least - own));
}

std::size_t count_outliers(const SensorView& view, std::size_t y) {
    const double least = static_cast<double>(view.range()) / kOutlierParts;
    std::size_t count = 0;
    for (std::size_t first = view.dx; first + view.dx < view.columns; first += kTile) {
        const std::size_t end = std::min(first + kTile, view.columns - view.dx);
        std::array<int, kTile> distances{};
        int furthest = 0;
        for (std::size_t x = first; x < end; ++x) {
            distances[x - first] = distance(view, y, x);
            furthest = std::max(furthest, distances[x - first]);
        }
        if (furthest <= least) { // The step need not be known: in most tiles.
            continue;
        }
        const double limit =
            std::max(least, kTimesTheStep * usual_step(view, view.row(y), first, end + view.dx));
        count += static_cast<std::size_t>(
            std::count_if(distances.begin(), distances.end(), [limit](int one) { return one > limit; }));
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
