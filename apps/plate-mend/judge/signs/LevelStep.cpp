#include "judge/signs/LevelStep.h"

#include "judge/Median.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace plate_mend::host {

namespace {

constexpr std::size_t kMostSteps = 768; ///< Per row and colour that are measured.
constexpr std::size_t kAround = 8;      ///< Rows on either side that are compared.
constexpr double kTimesTheSpread = 4;   ///< A step is more than so many times the spread of all steps,
constexpr double kTimesAroundRows = 4;  ///< more than so many times those of the rows around,
constexpr double kLeastStep = 4;        ///< and more than so many levels.
constexpr double kSpreadGrows = 4;      ///< Its spread is at most so many times the usual one there.

/// The steps from the row above of the same colours, in one colour.
struct RowStep {
    double middle = 0;
    double spread = 0; ///< Median distance from the middle.
};

RowStep step_of(const SensorView& view, std::size_t y, std::size_t colour, std::vector<double>& steps) {
    const std::size_t stride = view.dx * std::max<std::size_t>(1, view.columns / view.dx / kMostSteps);
    steps.clear();
    for (std::size_t x = colour; x < view.columns; x += stride) {
        const double own = view.row(y)[x];
        const double above = view.row(y - view.dy)[x];
        if (own < view.white && above < view.white) { // What is overexposed shows no step.
            steps.push_back(own - above);
        }
    }
    if (steps.size() < 32) {
        return {};
    }
    RowStep row;
    row.middle = median(steps);
    for (double& one : steps) {
        one = std::abs(one - row.middle);
    }
    row.spread = median(steps);
    return row;
}

using RowSteps = std::vector<RowStep>;

/// Whether a step is large, and the rows around have neither such steps nor a smaller spread.
bool stands_out(const RowSteps& rows, std::size_t y, std::size_t dy) {
    const RowStep& own = rows[y];
    const double size = std::abs(own.middle);
    if (size < kLeastStep || size < kTimesTheSpread * own.spread) {
        return false;
    }
    std::vector<double> spreads;
    for (std::size_t row = y - std::min(y, kAround); row <= std::min(y + kAround, rows.size() - 1); ++row) {
        const bool is_step_itself = row + dy > y && row < y + dy;
        if (!is_step_itself && std::abs(rows[row].middle) * kTimesAroundRows > size) {
            return false;
        }
        spreads.push_back(rows[row].spread);
    }
    return own.spread <= kSpreadGrows * std::max(1.0, median(std::move(spreads)));
}

} // namespace

Sign find_level_step(const SensorView& view, const std::vector<bool>& bad_rows) {
    if (!view.in_columns || view.dx != 2 || view.dy != 2 || view.rows < 4 * kAround || view.columns < 64) {
        return {};
    }
    std::vector<double> buffer;
    RowSteps own(view.rows);
    RowSteps other(view.rows);
    for (std::size_t y = view.dy; y < view.rows; ++y) {
        own[y] = step_of(view, y, 0, buffer);
        other[y] = step_of(view, y, 1, buffer);
    }
    for (std::size_t y = kAround; y + kAround < view.rows; ++y) {
        if (!bad_rows[y] && !bad_rows[y - view.dy] && stands_out(own, y, view.dy) &&
            stands_out(other, y, view.dy)) {
            return {"from row " + std::to_string(y) + " on the levels are others", {y}, Displaced{y, true}};
        }
    }
    return {};
}

} // namespace plate_mend::host
