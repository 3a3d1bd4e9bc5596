#include "progressive/IntervalPath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace still_mend {
namespace {

/// Intervals that all close, without a sign of a loss.
std::vector<PathInterval> seamless_intervals(std::size_t count) {
    PathInterval interval;
    interval.seamless = true;
    interval.closing = 0xFF;
    return std::vector<PathInterval>(count, interval);
}

/// Intervals fit with these odds in one state, and as badly in all others.
PathFits fits_in(const std::vector<std::size_t>& states, std::size_t count, float odds) {
    PathFits fits;
    for (const std::size_t right : states) {
        for (std::size_t state = 0; state < count; ++state) {
            fits.alone.push_back(state == right ? odds : -odds);
        }
    }
    fits.joined.resize(fits.alone.size());
    fits.below.resize(fits.alone.size());
    return fits;
}

std::vector<std::size_t> states_of(const std::vector<PathStep>& path) {
    std::vector<std::size_t> states;
    states.reserve(path.size());
    for (const auto& step : path) {
        states.push_back(step.state);
    }
    return states;
}

bool all_sure(const std::vector<PathStep>& path) {
    return std::all_of(path.begin(), path.end(), [](const PathStep& step) { return step.sure; });
}

TEST(IntervalPath, ALossIsWhereTheFitChanges) {
    const std::vector<std::size_t> states{0, 0, 0, 1, 1, 1, 1};
    const auto path = find_path(seamless_intervals(7), fits_in(states, 2, 10), {0, 1}, true);
    EXPECT_EQ(states_of(path), states);
    EXPECT_TRUE(all_sure(path));
}

TEST(IntervalPath, SeveralLossesAddUp) {
    const std::vector<std::size_t> states{0, 0, 1, 1, 1, 3, 3};
    EXPECT_EQ(states_of(find_path(seamless_intervals(7), fits_in(states, 4, 10), {0, 1, 2, 3}, true)),
              states);
}

TEST(IntervalPath, ALossIsNeverUndone) {
    const auto path = find_path(seamless_intervals(5), fits_in({0, 1, 0, 1, 1}, 2, 10), {0, 1}, true);
    EXPECT_TRUE(std::is_sorted(path.begin(), path.end(),
                               [](const PathStep& a, const PathStep& b) { return a.state < b.state; }));
}

TEST(IntervalPath, OneIntervalThatFitsElsewhereByChanceIsNoSecondLoss) {
    const auto path = find_path(seamless_intervals(6), fits_in({0, 0, 1, 2, 2, 2}, 3, 5), {0, 1, 2}, true);
    EXPECT_EQ(path[2].state % 2, 0U);
    EXPECT_FALSE(path[2].sure);
}

TEST(IntervalPath, WhereNothingFitsBetterNothingIsSure) {
    const auto path = find_path(seamless_intervals(6), fits_in({0, 0, 0, 0, 0, 0}, 2, 0), {0, 1}, true);
    EXPECT_TRUE(std::none_of(path.begin(), path.end(), [](const PathStep& step) { return step.sure; }));
}

TEST(IntervalPath, ALossThatShowsIsPreferredToOneThatDoesNot) {
    auto intervals = seamless_intervals(6);
    intervals[4].seamless = false;
    const auto path = find_path(intervals, fits_in({0, 0, 0, 0, 0, 0}, 2, 0), {0, 1}, true);
    EXPECT_EQ(states_of(path), (std::vector<std::size_t>{0, 0, 0, 0, 1, 1}));
    EXPECT_TRUE(all_sure(path));
}

TEST(IntervalPath, TheBytesShowWhichOfTwoVisibleLossesIsTheLonger) {
    auto intervals = seamless_intervals(6);
    intervals[2].seamless = false;
    intervals[4].seamless = false;
    intervals[4].eights = 2;
    const auto path = find_path(intervals, fits_in({0, 0, 0, 0, 0, 0}, 2, 0), {0, 2}, true);
    EXPECT_EQ(states_of(path), (std::vector<std::size_t>{0, 0, 0, 0, 1, 1}));
}

TEST(IntervalPath, ALossMayFollowAllIntervals) {
    const std::vector<std::size_t> states(5, 0);
    EXPECT_EQ(states_of(find_path(seamless_intervals(5), fits_in(states, 2, 10), {0, 1}, true)), states);
    EXPECT_EQ(states_of(find_path(seamless_intervals(5), fits_in(states, 2, 0), {0, 1}, false)), states);
}

TEST(IntervalPath, BelowALossNothingCountsThatBelongsToAnotherPlace) {
    // Intervals after the loss fit those above them only where those are not.
    auto fits = fits_in({0, 0, 0, 0, 0, 0}, 2, 0);
    fits.reach = 2;
    fits.below[3 * 2 + 0] = -20;
    fits.below[3 * 2 + 1] = -20;
    const auto path = find_path(seamless_intervals(6), fits, {0, 1}, true);
    EXPECT_EQ(path[1].state, 0U);
    EXPECT_EQ(path[3].state, 1U);
}

} // namespace
} // namespace still_mend
