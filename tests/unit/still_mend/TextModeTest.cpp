#include "Laboratory.h"
#include "Salvaged.h"

#include <gtest/gtest.h>

#include <algorithm>

// A transfer in text mode puts CR before each LF.

namespace test {
namespace {

TEST(TextMode, IsUndoneExactly) {
    for (const char* coding : {"baseline 4:2:0", "baseline 4:2:0, restarts", "progressive grey"}) {
        const Bytes jpeg = make_coded(coding_named(coding), 1, 640, 480);
        const Bytes damaged = in_text_mode(jpeg);
        ASSERT_GT(damaged.size(), jpeg.size());
        const auto [code, output, report] = salvage(damaged);
        EXPECT_EQ(code, STILL_MEND_OK) << coding;
        EXPECT_TRUE(output == jpeg) << coding;
        EXPECT_EQ(report.own_mcu_count, report.mcu_count) << coding;
        EXPECT_EQ(report.warnings, static_cast<unsigned>(STILL_MEND_TEXT_MODE_UNDONE)) << coding;
        ASSERT_LT(report.first_bad_byte, damaged.size()) << coding;
        EXPECT_EQ(damaged[report.first_bad_byte], 0x0D) << coding;
        EXPECT_EQ(jpeg[report.first_bad_byte], 0x0A) << coding;
    }
}

TEST(TextMode, IsLeftWhereOneLfIsAlone) {
    const Bytes jpeg = make_coded(coding_named("baseline 4:2:0"), 1, 640, 480);
    const auto [code, output, report] = salvage(joined(in_text_mode(jpeg), {0x00, 0x0A}));
    EXPECT_FALSE(output == jpeg) << code;
    EXPECT_EQ(report.warnings & STILL_MEND_TEXT_MODE_UNDONE, 0U);
}

} // namespace
} // namespace test
