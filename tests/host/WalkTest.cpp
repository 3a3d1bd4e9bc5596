#include "host/Walk.h"

#include "support/Thinned.h"

#include <gtest/gtest.h>

namespace test {
namespace {

class Walked : public ::testing::TestWithParam<Format> {};

TEST_P(Walked, EachVerdictAgreesWithThePixels) {
    unsigned wholes = 0;
    unsigned partials = 0;
    for (const WalkResult& result : walk(GetParam())) {
        EXPECT_FALSE(result.false_whole()) << result.harm << ": whole, but not the original's picture";
        EXPECT_FALSE(result.too_strict()) << result.harm << ": the original's picture, but not whole";
        EXPECT_FALSE(result.too_rosy()) << result.harm << ": more promised than there is";
        if (result.record.verdict == plate_mend::host::Verdict::kPreviewOnly) {
            EXPECT_TRUE(result.jpeg_decodes) << result.harm;
        }
        wholes += result.same_picture ? 1U : 0U;
        partials += result.record.verdict == plate_mend::host::Verdict::kPartial ? 1U : 0U;
    }
    EXPECT_GE(wholes, kEveryNth == 1 ? 3U : 1U) << "none, and a lost head";
    EXPECT_GE(partials, 10U / kEveryNth) << "harm in the image data";
}

INSTANTIATE_TEST_SUITE_P(Formats, Walked, ::testing::ValuesIn(formats()),
                         [](const auto& format) { return format.param.extension; });

} // namespace
} // namespace test
