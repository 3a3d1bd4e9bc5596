#include "api/Extension.h"

#include <gtest/gtest.h>

namespace plate_mend {
namespace {

TEST(Extension, IsLoweredBytewise) {
    EXPECT_EQ(lower_case_extension("Photo.ARW"), "arw");
    EXPECT_EQ(lower_case_extension("Photo.Arw"), "arw");
    EXPECT_EQ(lower_case_extension("photo.arw"), "arw");
    EXPECT_EQ(lower_case_extension("photo.CR2"), "cr2");
}

TEST(Extension, IsEmptyWithoutADotOrAfterATrailingDot) {
    EXPECT_EQ(lower_case_extension("photo"), "");
    EXPECT_EQ(lower_case_extension("photo."), "");
    EXPECT_EQ(lower_case_extension(""), "");
}

TEST(Extension, FollowsTheLastDotOfTheWholePath) {
    EXPECT_EQ(lower_case_extension("a.b.arw"), "arw");
    EXPECT_EQ(lower_case_extension("C:\\a.b\\photo"), "b\\photo");
    EXPECT_EQ(lower_case_extension("/a.b/photo"), "b/photo");
    EXPECT_EQ(lower_case_extension(".arw"), "arw");
}

TEST(Extension, NonAsciiBytesStayAsTheyAre) {
    EXPECT_EQ(lower_case_extension("photo.\xC3\x84RW"), "\xC3\x84rw");
}

} // namespace
} // namespace plate_mend
