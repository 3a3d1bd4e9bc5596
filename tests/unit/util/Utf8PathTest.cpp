#include "util/Utf8Path.h"

#include <gtest/gtest.h>

#include <string>
#include <system_error>

namespace plate_mend::util {
namespace {

TEST(Utf8Path, WellFormedTextIsRepairedByteForByte) {
    for (const std::string text : {"", "a", "photo.arw", "dir/photo.arw", "\x7F", "\xC2\x80", "\xDF\xBF",
                                   "\xE0\xA0\x80", "\xEC\xBF\xBF", "\xED\x9F\xBF", "\xEE\x80\x80",
                                   "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF3\xBF\xBF\xBF", "\xF4\x8F\xBF\xBF",
                                   "f\xC3\xBCr \xE5\x86\x99\xE7\x9C\x9F \xF0\x9F\x93\xB7.arw"}) {
        EXPECT_EQ(utf8_from_path(path_from_utf8(text.c_str())), text);
    }
}

TEST(Utf8Path, NamesTheSamePathAsTheSystemsOwnForm) {
    EXPECT_EQ(path_from_utf8("f\xC3\xBCr.arw"), std::filesystem::path(u8"für.arw"));
}

TEST(Utf8Path, IllFormedTextIsASystemError) {
    for (const std::string text : {
             "\x80",             // A trail byte alone.
             "a\xBF",            //
             "\xC0\x80",         // Overlong: two bytes for one.
             "\xC1\xBF",         //
             "\xE0\x9F\xBF",     // Overlong: three bytes for two.
             "\xF0\x8F\xBF\xBF", // Overlong: four bytes for three.
             "\xED\xA0\x80",     // The first surrogate,
             "\xED\xBF\xBF",     // and the last.
             "\xF4\x90\x80\x80", // Above 10FFFF.
             "\xF5\x80\x80\x80", //
             "\xFF",             //
             "\xC2",             // Cut sequences.
             "\xE1\x80",         //
             "\xF1\x80\x80",     //
             "\xC2\x61",         // Trail bytes that are none.
             "\xE1\x80\x61",     //
             "\xE1\x80\xC0",     //
             "\xF1\x80\x80/",    //
         }) {
        EXPECT_THROW((void)path_from_utf8(text.c_str()), std::system_error) << ::testing::PrintToString(text);
    }
}

} // namespace
} // namespace plate_mend::util
