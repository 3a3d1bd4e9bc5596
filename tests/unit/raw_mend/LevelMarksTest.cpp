#include "mend/LevelMarks.h"
#include "mend/LevelShift.h"

#include "support/LosslessJpeg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

// How often single values occur shows by how much those of a run are off.

namespace test {
namespace {

using raw_mend::LevelMarks;
using raw_mend::RowState;

constexpr unsigned kColumns = 400; // Of two components each.
constexpr unsigned kRow = 2 * kColumns;
constexpr unsigned kRows = 480;
constexpr unsigned kKnownRows = 320;
constexpr unsigned kMaskedColumns = 32;

/// What a camera makes of a measured level in a row.
using Camera = std::function<double(double, unsigned)>;

double plain(double level, unsigned /*row*/) {
    return level;
}

/// Every fourth value does not occur.
double gain(double level, unsigned /*row*/) {
    return std::floor(level * 3 / 4) * 4 / 3;
}

std::vector<std::uint16_t> make_values(const Camera& camera) {
    std::mt19937 random(3);
    std::normal_distribution<double> noise(0, 12);
    std::vector<std::uint16_t> values;
    for (unsigned row = 0; row < kRows; ++row) {
        for (unsigned column = 0; column < kRow; ++column) {
            const double wave = 150 * std::sin(0.02 * column) + 30 * std::cos(0.03 * row);
            const double level =
                column < kMaskedColumns ? 128 : 700 + wave + (column % 2) * 200 + noise(random);
            values.push_back(static_cast<std::uint16_t>(camera(std::round(level), row)));
        }
    }
    return values;
}

/// The rows after those that are known are a run; its second component is off by so many levels.
LevelMarks marks_of(std::vector<std::uint16_t> values, int off, std::size_t masked = kMaskedColumns) {
    LosslessJpegOptions options;
    options.components = 2;
    const Bytes stream = lossless_jpeg(values, kColumns, kRows, options);
    const raw_mend::StreamFrame frame(*lossless_jpeg::read_head(stream, 0));
    std::vector<RowState> states(kRows, RowState::kRun);
    std::fill_n(states.begin(), kKnownRows, RowState::kKnown);
    for (std::size_t at = std::size_t{kKnownRows} * kRow + 1; at < values.size(); at += 2) {
        values[at] = static_cast<std::uint16_t>(values[at] + off);
    }
    return {frame, raw_mend::StreamSlices({}, 0, frame, 2 * std::size_t{kRow}), values, states, masked};
}

constexpr double kClear = 100; // Many times what makes a shift certain.
constexpr int kFirst = -5;
constexpr std::size_t kShifts = 11;

int likeliest(const LevelMarks& marks, std::size_t component) {
    const auto costs = marks.costs(component, kFirst, kShifts);
    return kFirst + static_cast<int>(std::ranges::min_element(costs) - costs.begin());
}

/// By how much the likeliest shift is likelier than the next one that is not the same modulo the gain's four.
double clearness(const LevelMarks& marks, std::size_t component) {
    const auto costs = marks.costs(component, kFirst, kShifts);
    double least = 1e9;
    for (std::size_t at = 0; at < kShifts; ++at) {
        const int shift = kFirst + static_cast<int>(at);
        if ((shift - likeliest(marks, component)) % 4 != 0) {
            least = std::min(least, costs[at]);
        }
    }
    return least;
}

TEST(LevelMarks, OfDigitalGainShowHowFarARunIsOff) {
    for (const int off : {0, 1, -1, 2}) {
        const LevelMarks marks = marks_of(make_values(gain), off);
        EXPECT_EQ(likeliest(marks, 0) % 4, 0);
        EXPECT_EQ((likeliest(marks, 1) + off) % 4, 0) << off;
        EXPECT_GT(clearness(marks, 0), kClear);
        EXPECT_GT(clearness(marks, 1), kClear);
    }
}

TEST(LevelMarks, AreFoundOfARunBelowZero) {
    const LevelMarks marks = marks_of(make_values(gain), -2000);
    const auto costs = marks.costs(1, 1999, 3);
    EXPECT_EQ(costs[1], 0);
    EXPECT_GT(std::min(costs[0], costs[2]), kClear);
}

TEST(LevelMarks, DecideWhereRowsDoNot) {
    const LevelMarks marks = marks_of(make_values(gain), 1);
    const std::vector<raw_mend::LevelEstimate> estimates{{{0.3, -0.45}, {0.3, 0.3}}};
    EXPECT_FALSE(combine(estimates, std::nullopt, {}, 2).is_certain);
    const raw_mend::LevelShift shift = combine(estimates, std::nullopt, marks, 2);
    EXPECT_EQ(shift.shift, (std::vector{0, -1}));
    EXPECT_TRUE(shift.is_certain);
}

TEST(LevelMarks, ThatContradictTheRowsAreNotCertain) {
    const LevelMarks marks = marks_of(make_values(gain), 1);
    const std::vector<raw_mend::LevelEstimate> estimates{{{0, 1}, {0.05, 0.05}}};
    EXPECT_FALSE(combine(estimates, std::nullopt, marks, 2).is_certain);
}

TEST(LevelMarks, OfPlainValuesSayNothing) {
    const LevelMarks marks = marks_of(make_values(plain), 1);
    for (const std::size_t component : {0U, 1U}) {
        const auto costs = marks.costs(component, kFirst, kShifts);
        EXPECT_LT(*std::ranges::max_element(costs), 14);
    }
}

TEST(LevelMarks, ThatDoNotHoldInAllKnownRowsSayLittle) {
    // Each eighth of the known rows is displaced by one more, as values of a damaged part would be.
    const Camera drifting = [](double level, unsigned row) {
        const unsigned nth = row / (kKnownRows / 8);
        return gain(level, row) + nth;
    };
    EXPECT_LT(clearness(marks_of(make_values(drifting), 1), 1), 14);
}

TEST(LevelMarks, LeaveMaskedColumnsOut) {
    // All of their values are 128. With them, a run that were all 127 would be likelier displaced by one.
    const LevelMarks with = marks_of(make_values(plain), 1, 0);
    const LevelMarks without = marks_of(make_values(plain), 1);
    EXPECT_EQ(likeliest(with, 1), -1);
    EXPECT_GT(with.costs(1, 0, 2)[1], 0);
    EXPECT_LT(without.costs(1, -1, 2)[1], 14);
}

TEST(LevelMarks, NeedEnoughKnownValues) {
    const LevelMarks none;
    EXPECT_EQ(none.costs(0, -1, 3), (std::vector<double>(3, 0.0)));
}

} // namespace
} // namespace test
