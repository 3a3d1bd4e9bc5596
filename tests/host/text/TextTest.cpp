#include "text/Text.h"

#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

TEST(Text, BytesThatAreNotUtf8AreReplacedOneByOne) {
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

TEST(Text, OnlyAsciiLettersChangeTheirCase) {
    EXPECT_EQ(upper("az AZ 09 @[`{ ä\xE4"), "AZ AZ 09 @[`{ ä\xE4");
    EXPECT_EQ(lower("az AZ 09 @[`{ Ä\xC4"), "az az 09 @[`{ Ä\xC4");
}

TEST(Text, ControlCharactersNeverReachATerminal) {
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

TEST(Text, LettersAreReplaced) {
    EXPECT_EQ(replace_letters("a'b'", "'", {"\\'"}), "a\\'b\\'");
    EXPECT_EQ(replace_letters("abc", "ca", {"1", "22"}), "22b1");
    EXPECT_EQ(on_one_line("a\nb\n"), "a b ");
}

} // namespace
} // namespace plate_mend::host
