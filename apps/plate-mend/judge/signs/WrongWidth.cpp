#include "judge/signs/WrongWidth.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <set>
#include <utility>

namespace plate_mend::host {

namespace {

// None of these limits has a measurement of its own. The tests show that with them 120 whole scenes have the
// right width, and that a scene of 640 columns read as 480 does not.

/// Pairs of rows that are compared, spread over the picture.
constexpr std::size_t kTrials = 64;

/// Pairs count whose unshifted rows differ by more than one part in this many of the range. Rows that are
/// alike whatever the shift, as in the sky, show nothing.
constexpr double kMisfitRangeParts = 400;

/// A shift must reduce the misfit of a pair below this share.
constexpr double kGain = 0.5;

/// The smallest shift that counts, in steps of a coarse row, and the pairs that it must fit: at least this
/// many, and two in three.
constexpr std::ptrdiff_t kSmallestShift = 4;
constexpr std::size_t kFewestPairs = 6;

/// A row is reduced to about this many steps.
constexpr std::size_t kSteps = 512;

/// A row in steps, each the mean of some samples.
using CoarseRow = std::vector<double>;

struct RowPair {
    CoarseRow upper;
    CoarseRow lower;
};

CoarseRow coarse_row(const SensorView& view, std::size_t y, std::size_t samples_per_step) {
    const std::uint16_t* row = view.row(y);
    CoarseRow means;
    for (std::size_t x = 0; x + samples_per_step <= view.columns; x += samples_per_step) {
        means.push_back(std::accumulate(row + x, row + x + samples_per_step, 0.0) /
                        static_cast<double>(samples_per_step));
    }
    return means;
}

/// The mean step between two rows when the lower one is shifted by this many places. Once it is certainly
/// above a limit, any value above that.
double misfit(const RowPair& pair, std::ptrdiff_t shift,
              double limit = std::numeric_limits<double>::infinity()) {
    constexpr std::size_t kBetweenChecks = 32;
    constexpr double kRounding = 1 + 1e-9;
    const auto reach = static_cast<std::size_t>(std::abs(shift));
    const double* upper = pair.upper.data() + (shift < 0 ? 0 : reach);
    const double* lower = pair.lower.data() + (shift < 0 ? reach : 0);
    const std::size_t steps = pair.upper.size() - reach;
    const double largest_sum = kRounding * limit * static_cast<double>(steps);
    double sum = 0;
    for (std::size_t x = 0; x < steps && sum <= largest_sum;) {
        for (const std::size_t end = std::min(steps, x + kBetweenChecks); x < end; ++x) {
            sum += std::abs(upper[x] - lower[x]);
        }
    }
    return sum / static_cast<double>(steps);
}

/// By how many places the lower row must be shifted to fit the upper one; 0 where no shift gains enough. At
/// least a quarter of the rows must be side by side.
std::ptrdiff_t best_shift(const RowPair& pair) {
    const auto reach = static_cast<std::ptrdiff_t>(pair.upper.size() * 3 / 4);
    double best = kGain * misfit(pair, 0);
    std::ptrdiff_t where = 0;
    for (std::ptrdiff_t shift = -reach; shift <= reach; ++shift) {
        const double fit = misfit(pair, shift, best);
        if (fit < best) {
            best = fit;
            where = shift;
        }
    }
    return where;
}

std::vector<RowPair> differing_pairs(const SensorView& view, const std::vector<bool>& bad_rows) {
    const std::size_t samples_per_step =
        view.dx * std::max<std::size_t>(1, view.columns / (kSteps * view.dx));
    std::vector<RowPair> pairs;
    for (std::size_t trial = 0; trial < kTrials; ++trial) {
        const std::size_t y = trial * (view.rows - view.dy) / kTrials;
        RowPair pair{coarse_row(view, y, samples_per_step), coarse_row(view, y + view.dy, samples_per_step)};
        if (!bad_rows[y] && misfit(pair, 0) > view.range() / kMisfitRangeParts) {
            pairs.push_back(std::move(pair));
        }
    }
    return pairs;
}

/// Whether a shift makes most pairs fit.
bool fits_most(const std::vector<RowPair>& pairs, std::ptrdiff_t shift) {
    const auto fitting =
        static_cast<std::size_t>(std::count_if(pairs.begin(), pairs.end(), [shift](const RowPair& pair) {
            return misfit(pair, shift) < kGain * misfit(pair, 0);
        }));
    return fitting >= kFewestPairs && fitting * 3 >= pairs.size() * 2;
}

} // namespace

Sign find_wrong_width(const SensorView& view, const std::vector<bool>& bad_rows) {
    const auto pairs = differing_pairs(view, bad_rows);
    std::set<std::ptrdiff_t> shifts;
    for (const RowPair& pair : pairs) {
        shifts.insert(best_shift(pair));
    }
    const bool wrong = std::any_of(shifts.begin(), shifts.end(), [&](std::ptrdiff_t shift) {
        return std::abs(shift) >= kSmallestShift && fits_most(pairs, shift);
    });
    return wrong ? Sign{"rows fit one another only when they are shifted: the width is wrong",
                        {},
                        Displaced{0, true}}
                 : Sign{};
}

} // namespace plate_mend::host
