#include "coding/RowLevels.h"

#include "support/HeadlessPhoto.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <algorithm>

// Levels of rows, each of whose first values is a difference from the value of the same colour two rows
// above.

namespace test {
namespace {

using raw_mend::RowLevels;

constexpr std::size_t kWidth = 544;

std::vector<std::uint16_t> scene_in(Mood mood, unsigned number, unsigned height = 384) {
    return noisy_scene(number_of(mood, number), static_cast<unsigned>(kWidth), height, 14);
}

/// Of rows that are decoded as if so many values of the first row were not there.
double unsteadiness_without(std::size_t lost, const std::vector<std::uint16_t>& samples) {
    const auto above = [](const auto& values, std::size_t at) -> int {
        return at % kWidth >= 2 ? values[at - 2] : at >= 2 * kWidth ? values[at - 2 * kWidth] : 0;
    };
    RowLevels levels(kWidth);
    std::vector<int> values;
    for (std::size_t at = 0; at + lost < samples.size(); ++at) {
        values.push_back(above(values, at) + samples[at + lost] - above(samples, at + lost));
        levels.add(values.back());
    }
    return levels.unsteadiness();
}

TEST(RowLevels, AreSteadyInEveryLight) {
    for (unsigned mood = 0; mood < 6; ++mood) {
        for (unsigned number = 1; number <= 4; ++number) {
            EXPECT_LT(unsteadiness_without(0, scene_in(static_cast<Mood>(mood), number)), 0.4)
                << mood << ", " << number;
        }
    }
}

TEST(RowLevels, JumpInEveryLightIfValuesAreLost) {
    for (unsigned mood = 0; mood < 6; ++mood) {
        const auto samples = scene_in(static_cast<Mood>(mood), 7);
        for (const std::size_t lost : {1U, 2U, 3U, 40U}) {
            EXPECT_GT(unsteadiness_without(lost, samples), 0.7) << mood << ", " << lost;
        }
    }
}

TEST(RowLevels, JumpIfOnlyTheLastRowsDo) {
    auto samples = scene_in(Mood::kFlat, 1);
    RowLevels levels(kWidth);
    for (std::size_t at = 0; at < samples.size(); ++at) {
        const std::size_t row = at / kWidth;
        levels.add(samples[at] + (row >= 350 && row % 4 < 2 ? 100 : 0));
    }
    EXPECT_GT(levels.unsteadiness(), 0.7);
}

TEST(RowLevels, NoiseOfWholeRowsIsLessThanThatOfValues) {
    const auto samples = scene_in(Mood::kNoisy, 1);
    RowLevels levels(kWidth);
    for (std::size_t at = 0; at < samples.size(); ++at) {
        levels.add(samples[at] + static_cast<int>(at / kWidth * 7 % 13)); // The noise of values is about 100.
    }
    EXPECT_LT(levels.unsteadiness(), 0.4);
}

TEST(RowLevels, OfASurfaceWithoutDetailAreSteady) {
    RowLevels levels(kWidth);
    for (std::size_t at = 0; at < std::size_t{kWidth} * 100; ++at) {
        levels.add(500);
    }
    EXPECT_EQ(levels.unsteadiness(), 0);
}

TEST(RowLevels, SayNothingOfAFewRowsOrColumns) {
    RowLevels few_rows(kWidth);
    for (std::size_t at = 0; at < std::size_t{kWidth} * 12; ++at) {
        few_rows.add(at / kWidth % 4 < 2 ? 100 : 0);
    }
    EXPECT_EQ(few_rows.unsteadiness(), 0);
    RowLevels few_columns(20);
    for (std::size_t at = 0; at < std::size_t{20} * 400; ++at) {
        few_columns.add(at / 20 % 4 < 2 ? 100 : 0);
    }
    EXPECT_EQ(few_columns.unsteadiness(), 0);
}

} // namespace
} // namespace test
