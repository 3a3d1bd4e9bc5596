#include "repair/Worth.h"

#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

Attempt attempt_of(const char* engine, std::optional<double> rows, std::size_t findings,
                   bool decodes = true) {
    Attempt attempt;
    attempt.engine = engine;
    attempt.judgement.decodes = decodes;
    attempt.judgement.rows_good = rows;
    attempt.judgement.findings.assign(findings, "a sign of damage");
    return attempt;
}

TEST(Worth, VerdictNeedsADecodeAndRowsAndNoFindings) {
    EXPECT_EQ(verdict_of(attempt_of("raw", 1.0, 0).judgement), Verdict::kWhole);
    EXPECT_EQ(verdict_of(attempt_of("raw", 1.0, 1).judgement), Verdict::kPartial);
    EXPECT_EQ(verdict_of(attempt_of("raw", 0.0, 1).judgement), Verdict::kNotRepaired);
    EXPECT_EQ(verdict_of(attempt_of("raw", 1.0, 0, false).judgement), Verdict::kNotRepaired);
}

TEST(Worth, WhatIsNoPhotographIsNeverKept) {
    EXPECT_FALSE(is_better(attempt_of("exact", 0.0, 1), nullptr));
    EXPECT_FALSE(is_better(attempt_of("exact", 1.0, 0, false), nullptr));
    EXPECT_TRUE(is_better(attempt_of("exact", 0.02, 1), nullptr));
}

TEST(Worth, VerdictCountsFirstThenRowsThenFindings) {
    const Attempt partial = attempt_of("raw", 0.9, 2);
    EXPECT_TRUE(is_better(attempt_of("raw", 1.0, 0), &partial));
    EXPECT_TRUE(is_better(attempt_of("raw", 0.95, 3), &partial));
    EXPECT_TRUE(is_better(attempt_of("raw", 0.9, 1), &partial));
    EXPECT_FALSE(is_better(attempt_of("raw", 0.8, 1), &partial));
    EXPECT_FALSE(is_better(attempt_of("raw", std::nullopt, 1), &partial));
}

TEST(Worth, PixelsCountWhereTheyAreCounted) {
    Attempt mended = attempt_of("raw", 0.5, 1);
    mended.judgement.pixels_good = 0.99;
    const Attempt rows = attempt_of("raw", 0.9, 1);
    EXPECT_TRUE(is_better(mended, &rows));
    EXPECT_FALSE(is_better(rows, &mended));
    mended.judgement.rows_good = 1;
    mended.judgement.pixels_good = 0.001;
    EXPECT_EQ(verdict_of(mended.judgement), Verdict::kNotRepaired);
}

TEST(Worth, UnknownShareIsHalfOfWhatIsNotLost) {
    Attempt cut = attempt_of("raw", std::nullopt, 1);
    cut.image = FoundImage{.pixels = 1000, .pixels_lost = 890, .pixels_doubtful = 10};
    const Attempt rows = attempt_of("exact", 0.09, 1);
    EXPECT_FALSE(is_better(cut, &rows));
    cut.image->pixels_lost = 90;
    EXPECT_TRUE(is_better(cut, &rows));
}

TEST(Worth, ImageAtAnUnknownLevelIsKeptIfNothingIsBetter) {
    Attempt tail = attempt_of("raw", std::nullopt, 2);
    tail.image = FoundImage{.pixels = 1000, .pixels_lost = 100, .pixels_doubtful = 900};
    EXPECT_TRUE(is_better(tail, nullptr));
    const Attempt rows = attempt_of("exact", 0.3, 1);
    EXPECT_FALSE(is_better(tail, &rows));
    const Attempt few = attempt_of("exact", 0.2, 1);
    EXPECT_TRUE(is_better(tail, &few));
}

TEST(Worth, MendedImageIsBetterWhereNeitherShareIsKnown) {
    Attempt mended = attempt_of("raw", std::nullopt, 3);
    mended.image = FoundImage{.pieces_mended = 1, .pixels = 1000, .pixels_lost = 400};
    const Attempt exact = attempt_of("exact", std::nullopt, 1);
    EXPECT_TRUE(is_better(mended, &exact));
    EXPECT_FALSE(is_better(exact, &mended));
    mended.image->pixels_doubtful = 200;
    EXPECT_FALSE(is_better(mended, &exact));
    EXPECT_TRUE(is_better(exact, &mended));
}

TEST(Worth, ProvedPiecesAreBetterWhereNeitherShareIsKnown) {
    Attempt proved = attempt_of("raw", std::nullopt, 5);
    proved.image = FoundImage{
        .pieces = 204, .pieces_proved = 19, .pieces_mended = 39, .pixels = 1000, .pixels_doubtful = 860};
    const Attempt exact = attempt_of("exact", std::nullopt, 3);
    EXPECT_TRUE(is_better(proved, &exact));
    EXPECT_FALSE(is_better(exact, &proved));
    const Attempt known = attempt_of("exact", 0.6, 3);
    EXPECT_FALSE(is_better(proved, &known));
}

TEST(Worth, ExactEngineWinsATie) {
    const Attempt exact = attempt_of("exact", 0.9, 2);
    const Attempt raw = attempt_of("raw", 0.9, 2);
    EXPECT_TRUE(is_better(exact, &raw));
    EXPECT_FALSE(is_better(raw, &exact));
    EXPECT_FALSE(is_better(exact, &exact)) << "the first sample's is kept";
    const Attempt fewer_signs = attempt_of("raw", 0.9, 1);
    EXPECT_FALSE(is_better(fewer_signs, &exact)) << "signs of two engines cannot be compared";
    EXPECT_TRUE(is_better(fewer_signs, &raw));
    const Attempt unknown = attempt_of("exact", std::nullopt, 5);
    EXPECT_FALSE(is_better(attempt_of("raw", std::nullopt, 1), &unknown));
}

} // namespace
} // namespace plate_mend::host
