#include "judge/signs/Runs.h"
#include "judge/signs/ValueRange.h"
#include "judge/signs/Windows.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

// What signs measure is summed and skipped in vector code. Here it is compared with plain loops.

namespace test {
namespace {

using namespace plate_mend::host;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

/// A picture of noise.
struct Picture {
    Picture(std::size_t columns, std::size_t rows, unsigned values, std::size_t margin = 0)
        : samples((columns + margin) * rows) {
        std::mt19937 random(static_cast<unsigned>(columns + rows));
        for (std::uint16_t& sample : samples) {
            sample = static_cast<std::uint16_t>(random() % values);
        }
        view.samples = samples.data();
        view.stride = columns + margin;
        view.columns = columns;
        view.rows = rows;
    }

    std::vector<std::uint16_t> samples;
    SensorView view;
};

Window plain_window(const SensorView& view, std::size_t width, std::size_t y, std::size_t index) {
    const std::uint16_t* const row = view.row(y);
    std::array<std::uint64_t, 2> steps{};
    std::uint64_t sum = 0;
    for (std::size_t x = index * width; x < (index + 1) * width; ++x) {
        sum += row[x];
        steps[x % 2] += x < view.dx ? 0 : step(row[x], row[x - view.dx]);
    }
    Window window;
    window.mean = static_cast<double>(sum) / static_cast<double>(width);
    window.rough = 2.0 * static_cast<double>(std::max(steps[0], steps[1])) / static_cast<double>(width);
    return window;
}

TEST(SignMeasures, OfWindowsAreThoseOfPlainLoops) {
    for (const std::size_t columns : {161U, 333U, 1100U}) {
        for (const std::size_t dx : {1U, 2U, 3U, 6U}) {
            Picture picture(columns, 40, 65536, 5);
            picture.view.dx = dx;
            picture.view.dy = dx == 6 ? 6 : 2;
            const Windows windows(picture.view);
            ASSERT_GE(windows.per_row(), 10U);
            for (std::size_t y = 0; y < picture.view.rows; ++y) {
                for (std::size_t index = 0; index < windows.per_row(); ++index) {
                    const Window wanted = plain_window(picture.view, windows.width(), y, index);
                    const Window& window = windows.at(y, index);
                    ASSERT_EQ(window.mean, wanted.mean);
                    ASSERT_EQ(window.rough, wanted.rough);
                    const bool has_above = y >= picture.view.dy;
                    const double above =
                        has_above ? windows.at(y - picture.view.dy, index).mean : window.mean;
                    ASSERT_EQ(window.leap, std::abs(window.mean - above));
                }
            }
        }
    }
}

TEST(SignMeasures, UsualLeapIsTheMeanOfTheTwelveRowsAbove) {
    const Picture picture(400, 40, 16384);
    const Windows windows(picture.view);
    for (std::size_t y = 0; y < picture.view.rows; ++y) {
        double sum = 0;
        std::size_t count = 0;
        for (std::size_t above = y > 12 ? y - 12 : 0; above + 2 <= y; ++above) {
            sum += windows.at(above, 3).leap;
            ++count;
        }
        ASSERT_EQ(windows.at(y, 3).usual_leap, count == 0 ? 0 : sum / static_cast<double>(count)) << y;
    }
}

TEST(SignMeasures, RunIsFoundWhereverItBeginsAndEnds) {
    for (const std::size_t columns : {100U, 128U, 135U, 200U, 223U}) {
        const Picture original(columns, 12, 8192);
        for (std::size_t start = 4 * columns; start < 6 * columns; ++start) {
            for (const std::size_t length : {127U, 128U, 300U}) {
                Picture picture = original;
                picture.view.samples = picture.samples.data();
                const auto first = picture.samples.begin() + static_cast<std::ptrdiff_t>(start);
                std::fill_n(first, length, std::uint16_t{60000});
                std::vector<std::size_t> rows((start + length - 1) / columns - start / columns + 1);
                std::iota(rows.begin(), rows.end(), start / columns);
                rows.resize(length < 128 ? 0 : rows.size());
                ASSERT_THAT(find_runs(picture.view).bad_rows, ElementsAreArray(rows)) << start;
            }
        }
    }
}

TEST(SignMeasures, RunsAtBothEndsOfAPictureAreFound) {
    Picture picture(300, 40, 8192);
    std::fill_n(picture.samples.begin(), 700, std::uint16_t{3});
    std::fill_n(picture.samples.end() - 130, 130, std::uint16_t{3});
    EXPECT_THAT(find_runs(picture.view).bad_rows, ElementsAreArray({0U, 1U, 2U, 39U}));
}

TEST(SignMeasures, EachValueOutsideARangeIsSeen) {
    std::vector<std::uint16_t> samples(77, 500);
    EXPECT_FALSE(has_value_outside(samples.data(), samples.size(), 500, 500));
    EXPECT_FALSE(has_value_outside(samples.data(), samples.size(), 0, 65535));
    EXPECT_FALSE(has_value_outside(samples.data(), 0, 501, 600));
    EXPECT_TRUE(has_value_outside(samples.data(), 1, 70000, 80000));
    EXPECT_TRUE(has_value_outside(samples.data(), 1, 600, 400)) << "below the one and above the other";
    for (const std::uint16_t strange :
         {std::uint16_t{0}, std::uint16_t{499}, std::uint16_t{501}, std::uint16_t{65535}}) {
        for (std::uint16_t& sample : samples) {
            sample = strange;
            EXPECT_TRUE(has_value_outside(samples.data(), samples.size(), 500, 500));
            EXPECT_EQ(has_value_outside(samples.data(), samples.size(), 0, 500), strange > 500);
            EXPECT_EQ(has_value_outside(samples.data(), samples.size(), 500, 65535), strange < 500);
            sample = 500;
        }
    }
}

} // namespace
} // namespace test
