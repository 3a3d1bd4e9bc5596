#include "util/ByteScan.h"

#include "support/Bytes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace plate_mend {
namespace {

using test::Bytes;

TEST(ByteScan, FindsNothingInEmptyBytesOrForAnEmptyPattern) {
    EXPECT_EQ(find_pattern(Bytes{}, Bytes{1, 2}), std::nullopt);
    EXPECT_EQ(find_pattern(Bytes{1, 2}, Bytes{}), std::nullopt);
}

TEST(ByteScan, FindsPatternThatEndsOnTheLastByte) {
    EXPECT_EQ(find_pattern(Bytes{9, 9, 1, 2}, Bytes{1, 2}), 2U);
    EXPECT_EQ(find_pattern(Bytes{9, 9, 9, 1}, Bytes{1, 2}), std::nullopt);
    EXPECT_EQ(find_pattern(Bytes{1, 2}, Bytes{1, 2, 3}), std::nullopt);
}

TEST(ByteScan, FindsOverlappingStarts) {
    EXPECT_EQ(find_pattern(Bytes{1, 1, 1, 2}, Bytes{1, 1, 2}), 1U);
    EXPECT_EQ(find_pattern(Bytes{7}, Bytes{7}), 0U);
}

TEST(ByteScan, AgreesWithAPlainSearchAtEveryPlaceAroundTheBlocks) {
    for (const std::size_t length : {1U, 2U, 3U, 8U, 11U}) {
        Bytes pattern(length);
        for (std::size_t index = 0; index < length; ++index) {
            pattern[index] = static_cast<unsigned char>(index + 1);
        }
        for (std::size_t size = length; size < 600; size += 37) {
            for (std::size_t place = 0; place + length <= size; ++place) {
                Bytes bytes(size, 1); // The pattern's first byte everywhere.
                test::put_bytes(bytes, place, pattern);
                const auto plain = std::search(bytes.begin(), bytes.end(), pattern.begin(), pattern.end());
                ASSERT_EQ(find_pattern(bytes, pattern), static_cast<std::size_t>(plain - bytes.begin()));
            }
        }
    }
}

} // namespace
} // namespace plate_mend
