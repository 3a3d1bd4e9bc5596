#include "text/Similar.h"

#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

TEST(Similar, WordsAreFoundDespiteMistypedLetters) {
    const std::vector<std::string> words{"repair", "salvage", "check", "diagnose"};
    EXPECT_EQ(most_similar("repair", words), "repair");
    EXPECT_EQ(most_similar("repiar", words), "repair") << "swapped";
    EXPECT_EQ(most_similar("repar", words), "repair") << "left out";
    EXPECT_EQ(most_similar("diagnosse", words), "diagnose") << "added";
    EXPECT_EQ(most_similar("chack", words), "check") << "replaced";
    EXPECT_EQ(most_similar("dignsoe", words), "diagnose") << "two of seven";
}

TEST(Similar, WordsThatAreTooDifferentAreNot) {
    EXPECT_EQ(most_similar("mend", {"repair", "man"}), "") << "two of four letters";
    EXPECT_EQ(most_similar("", {"a"}), "");
    EXPECT_EQ(most_similar("x", {}), "");
    EXPECT_EQ(most_similar("cat", {"bat", "cut"}), "bat") << "the first of several";
}

} // namespace
} // namespace plate_mend::host
