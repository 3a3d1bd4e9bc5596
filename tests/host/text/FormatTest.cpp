#include "text/Format.h"

#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

TEST(Format, NounsFollowTheirNumber) {
    EXPECT_EQ(format_count(0, "second"), "0 seconds");
    EXPECT_EQ(format_count(1, "second"), "1 second");
    EXPECT_EQ(format_count(2, "second"), "2 seconds");
}

TEST(Format, SizesHaveTheUnitThatFits) {
    EXPECT_EQ(format_size(1), "1 byte");
    EXPECT_EQ(format_size(999), "999 bytes");
    EXPECT_EQ(format_size(1000), "1.0 kB");
    EXPECT_EQ(format_size(24'512'000), "24.5 MB");
    EXPECT_EQ(format_size(999'990), "1.0 MB") << "never 1000.0 kB";
    EXPECT_EQ(format_size(UINT64_MAX), "18.4 EB");
}

TEST(Format, OnlyAFullShareIsAHundredPercent) {
    EXPECT_EQ(format_share(1), "100 %");
    EXPECT_EQ(format_share(0.99999), "99.9 %");
    EXPECT_EQ(format_share(0.5), "50.0 %");
    EXPECT_EQ(format_share(0.57), "57.0 %");
    EXPECT_EQ(format_share(0.9879), "98.7 %") << "never more than it is";
    EXPECT_EQ(format_share(0.00001), "0.1 %");
    EXPECT_EQ(format_share(0), "0 %");
}

TEST(Format, DecimalsHaveTheDigitsAskedFor) {
    EXPECT_EQ(format_decimal(1.25, 4), "1.2500");
    EXPECT_EQ(format_decimal(-0.5, 1), "-0.5");
    EXPECT_EQ(format_decimal(1e300, 1), "") << "longer than any field";
}

TEST(Format, PartsAreJoined) {
    EXPECT_EQ(join({}), "");
    EXPECT_EQ(join({"a"}), "a");
    EXPECT_EQ(join({"a", "b"}), "a; b");
    EXPECT_EQ(join({"a", "b"}, " "), "a b");
}

} // namespace
} // namespace plate_mend::host
