#include "report/Words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

using ::testing::HasSubstr;

TEST(Words, CountsAreDescribed) {
    Counts counts;
    EXPECT_EQ(describe(counts), "no files");
    counts.add(Verdict::kNotRepaired);
    counts.add(Verdict::kWhole);
    counts.add(Verdict::kWhole);
    EXPECT_EQ(describe(counts), "2 whole, 1 lost");
    counts.add(Verdict::kPartial);
    counts.add(Verdict::kPreviewOnly);
    EXPECT_EQ(describe(counts), "2 whole, 1 partly there, 1 preview only, 1 lost");
    EXPECT_EQ(counts.total(), 5U);
}

TEST(Words, AttemptThatWasNotTakenHasAReason) {
    Attempt attempt;
    EXPECT_EQ(describe_refusal(attempt), "was not tried");
    attempt.code = -1126;
    EXPECT_THAT(describe_refusal(attempt), HasSubstr("(code -1126)"));
    attempt.code = 0;
    EXPECT_THAT(describe_refusal(attempt), HasSubstr("does not decode"));
    attempt.judgement.decodes = true;
    EXPECT_EQ(describe_refusal(attempt), "another sample was taken");
    attempt.judgement.findings = {"a", "b"};
    EXPECT_EQ(describe_refusal(attempt), "a; b");
    attempt.problem = "crashed";
    EXPECT_EQ(describe_refusal(attempt), "crashed");
}

} // namespace
} // namespace plate_mend::host
