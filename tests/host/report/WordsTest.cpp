#include "report/Words.h"
#include "text/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

using ::testing::HasSubstr;

TEST(Words, CountsAreToldInWords) {
    Counts counts;
    EXPECT_EQ(in_words(counts), "no files");
    counts.add(Verdict::kNotRepaired);
    counts.add(Verdict::kWhole);
    counts.add(Verdict::kWhole);
    EXPECT_EQ(in_words(counts), "2 whole, 1 lost");
    counts.add(Verdict::kPartial);
    counts.add(Verdict::kPreviewOnly);
    EXPECT_EQ(in_words(counts), "2 whole, 1 partly there, 1 preview only, 1 lost");
    EXPECT_EQ(counts.total(), 5U);
}

TEST(Words, AttemptThatWasNotTakenHasAReason) {
    Attempt attempt;
    EXPECT_EQ(reason_refused(attempt), "was not tried");
    attempt.code = -1126;
    EXPECT_THAT(reason_refused(attempt), HasSubstr("(code -1126)"));
    attempt.code = 0;
    EXPECT_THAT(reason_refused(attempt), HasSubstr("does not decode"));
    attempt.judgement.decodes = true;
    EXPECT_EQ(reason_refused(attempt), "another sample was taken");
    attempt.judgement.findings = {"a", "b"};
    EXPECT_EQ(reason_refused(attempt), "a; b");
    attempt.problem = "crashed";
    EXPECT_EQ(reason_refused(attempt), "crashed");
}

TEST(Words, SizesAreToldInTheUnitThatFits) {
    EXPECT_EQ(counted(0, "second"), "0 seconds");
    EXPECT_EQ(counted(1, "second"), "1 second");
    EXPECT_EQ(counted(2, "second"), "2 seconds");
    EXPECT_EQ(size_in_words(1), "1 byte");
    EXPECT_EQ(size_in_words(999), "999 bytes");
    EXPECT_EQ(size_in_words(1000), "1.0 kB");
    EXPECT_EQ(size_in_words(24'512'000), "24.5 MB");
    EXPECT_EQ(size_in_words(999'990), "1.0 MB") << "never 1000.0 kB";
    EXPECT_EQ(size_in_words(UINT64_MAX), "18.4 EB");
}

TEST(Words, OnlyAFullShareIsAHundredPercent) {
    EXPECT_EQ(share_in_words(1), "100 %");
    EXPECT_EQ(share_in_words(0.99999), "99.9 %");
    EXPECT_EQ(share_in_words(0.5), "50.0 %");
    EXPECT_EQ(share_in_words(0.00001), "0.1 %");
    EXPECT_EQ(share_in_words(0), "0 %");
}

TEST(Text, BytesThatAreNoUtf8AreReplacedOneByOne) {
    EXPECT_EQ(well_formed("für 写真 \xF0\x9F\x93\xB7"), "für 写真 \xF0\x9F\x93\xB7");
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(well_formed(replacement), replacement) << "itself it is a character";
    EXPECT_EQ(well_formed("a\xFF"
                          "b"),
              "a" + replacement + "b");
    EXPECT_EQ(well_formed("\xC3"), replacement) << "cut";
    EXPECT_EQ(well_formed("\xC0\xAF"), replacement + replacement) << "overlong";
    EXPECT_EQ(well_formed("\xED\xA0\x80"), replacement + replacement + replacement) << "surrogate";
    EXPECT_EQ(well_formed("\xF4\x90\x80\x80"), replacement + replacement + replacement + replacement)
        << "beyond the last character";
}

TEST(Text, NothingReachesATerminalThatSteersIt) {
    EXPECT_EQ(printable("a\x1B[2Jb\n\x7F"), "a?[2Jb??");
    EXPECT_EQ(printable("a\xC2\x9B"
                        "b"),
              "a?b")
        << "C1";
    EXPECT_EQ(printable("gpj.\xE2\x80\xAE"
                        "arw"),
              "gpj.?arw")
        << "right to left override";
    EXPECT_EQ(printable("写真\xFF"), "写真\xEF\xBF\xBD");
}

TEST(Text, WideCharactersTakeTwoColumns) {
    EXPECT_EQ(columns_of("abc"), 3U);
    EXPECT_EQ(columns_of("写真"), 4U);
    EXPECT_EQ(columns_of("u\xCC\x88"), 1U) << "a combining mark";
}

TEST(Text, TextThatIsTooLongLosesItsMiddle) {
    EXPECT_EQ(cut_to_columns("IMG_0042.arw", 12), "IMG_0042.arw");
    EXPECT_EQ(cut_to_columns("IMG_0042.arw", 11), "IMG_....arw");
    EXPECT_EQ(cut_to_columns("IMG_0042.arw", 3), "IMG");
    EXPECT_EQ(cut_to_columns("IMG_0042.arw", 0), "");
    for (std::size_t columns = 0; columns < 20; ++columns) {
        EXPECT_LE(columns_of(cut_to_columns("写真a写真b写真.arw", columns)), columns);
    }
}

} // namespace
} // namespace plate_mend::host
