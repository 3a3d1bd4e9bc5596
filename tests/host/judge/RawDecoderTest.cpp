#include "judge/RawDecoder.h"

#include "support/ArwPhoto.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <libraw/libraw.h>

namespace test {
namespace {

using plate_mend::host::explain_other_libraw;
using plate_mend::host::is_known_libraw;
using plate_mend::host::RawDecoder;

constexpr int version(int major, int minor, int patch) {
    return major << 16 | minor << 8 | patch;
}

TEST(LibRawVersions, OneSeriesIsKnown) {
    EXPECT_TRUE(is_known_libraw(version(0, 20, 0)));
    EXPECT_TRUE(is_known_libraw(version(0, 20, 2)));
    EXPECT_TRUE(is_known_libraw(LIBRAW_VERSION));
    EXPECT_FALSE(is_known_libraw(version(0, 19, 8)));
    EXPECT_FALSE(is_known_libraw(version(0, 21, 0)));
    EXPECT_FALSE(is_known_libraw(version(0, 22, 0)));
    EXPECT_FALSE(is_known_libraw(version(1, 20, 2)));
    EXPECT_FALSE(is_known_libraw(0));
}

TEST(LibRawVersions, AnotherLibraryIsNamed) {
    EXPECT_EQ(explain_other_libraw(version(0, 20, 2), version(0, 20, 2)), "");
    EXPECT_EQ(explain_other_libraw(version(0, 21, 4), version(0, 20, 2)),
              "LibRaw 0.21.4 is installed, but plate-mend was built with 0.20.2: nothing is decoded");
    EXPECT_NE(explain_other_libraw(version(0, 20, 1), version(0, 20, 2)), "");
}

TEST(RawDecoder, OpensNothingWithAnotherLibrary) {
    const TempDir folder;
    const auto file = folder / "photo.arw";
    write_file(file, ArwPhoto().bytes);

    RawDecoder right;
    EXPECT_EQ(right.version_problem(), "");
    EXPECT_TRUE(right.open(file));
    EXPECT_EQ(right.sensor_columns(), ArwPhoto::Options{}.width);

    RawDecoder wrong(version(0, 21, 0));
    EXPECT_NE(wrong.version_problem(), "");
    EXPECT_FALSE(wrong.open(file));
}

} // namespace
} // namespace test
