#include "locate/NthSmallest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace test {
namespace {

using raw_mend::nth_smallest;

void expect_order(const std::vector<float>& values) {
    std::vector<float> sorted = values;
    std::ranges::sort(sorted);
    for (std::size_t place = 0; place < sorted.size(); place += 1 + sorted.size() / 50) {
        EXPECT_EQ(nth_smallest(values, place), sorted[place]) << place << " of " << sorted.size();
    }
    EXPECT_EQ(nth_smallest(values, sorted.size() - 1), sorted.back());
}

TEST(NthSmallest, IsThatOfSortedValues) {
    std::mt19937 random(1);
    for (const std::size_t size : {1U, 2U, 3U, 5U, 255U, 1000U, 50000U}) {
        for (const unsigned most : {1U, 2U, 17U, 65536U, 4294967295U}) {
            std::vector<float> values(size);
            for (float& value : values) {
                value = static_cast<float>(random() % most) / 16;
            }
            expect_order(values);
        }
    }
}

TEST(NthSmallest, ValuesMayBeOfAnySize) {
    expect_order({0, 1e-40F, 1e-20F, 1, 1e20F, 3e38F});
    expect_order(std::vector<float>(20000, 7));
    std::vector<float> outlier(20000, 1);
    outlier[77] = 3e38F;
    outlier[78] = 1.0000001F;
    expect_order(outlier);
}

} // namespace
} // namespace test
