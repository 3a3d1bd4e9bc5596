#include "container/Likeness.h"

#include "HostileInputs.h"

#include "support/DngPhoto.h"
#include "support/RawLayout.h"
#include "support/RealFiles.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

namespace raw_mend {
namespace {

using test::Bytes;

TEST(Likeness, PhotographsOfOneCameraAreReadAlike) {
    for (const test::SmallPhotograph& photo : test::small_photographs()) {
        EXPECT_TRUE(are_read_alike(photo.damaged, photo.sample)) << photo.name;
        EXPECT_TRUE(are_read_alike(photo.sample, photo.damaged)) << photo.name;
    }
}

TEST(Likeness, PhotographsOfOtherCamerasAreNot) {
    const auto& photos = test::small_photographs();
    for (std::size_t nth = 0; nth < photos.size(); ++nth) {
        const std::string kind = photos[nth].name.substr(0, 3);
        for (std::size_t other = 0; other < photos.size() && kind != "raf" && kind != "cr3"; ++other) {
            EXPECT_EQ(are_read_alike(photos[nth].damaged, photos[other].sample), nth == other)
                << photos[nth].name << ", " << photos[other].name;
        }
    }
}

TEST(Likeness, WhatIsNotBuiltLikeTiffIsNotKnown) {
    const test::DngPhoto photo;
    EXPECT_TRUE(are_read_alike(Bytes{}, Bytes{}));
    EXPECT_TRUE(are_read_alike(test::noise(100, 1), photo.bytes));
    EXPECT_FALSE(are_read_alike(photo.bytes, test::noise(100, 1)));
}

/// Except in offsets and lengths, and in levels, which may differ from photograph to photograph.
TEST(Likeness, EachBitOfTheRawDirectoryMatters) {
    const test::DngPhoto sample;
    const test::DngPhoto photo({.number = 2});
    for (const std::uint16_t tag : photo.main_ifd.tags) {
        const bool is_level = tag == 50714 || tag == 50717;
        const bool is_place = tag == 324 || tag == 325;
        const std::size_t entry = photo.main_ifd.entry(tag);
        for (std::size_t bit = 0; bit < std::size_t{8} * (is_level ? 0 : is_place ? 8 : 12); ++bit) {
            const bool is_unused = bit >= 80 && test::get_u16(photo.bytes, entry + 2, photo.order) == 3 &&
                                   test::get_u32(photo.bytes, entry + 4, photo.order) == 1;
            Bytes flipped = photo.bytes;
            flipped[entry + bit / 8] ^= static_cast<unsigned char>(1U << bit % 8);
            EXPECT_EQ(are_read_alike(flipped, sample.bytes), is_unused) << tag << ", bit " << bit;
        }
    }
}

class LikenessOfRealFiles : public testing::TestWithParam<std::array<std::string, 2>> {};

TEST_P(LikenessOfRealFiles, PairsAreReadAlike) {
    REAL_FILE_OR_SKIP(one, GetParam()[0]);
    REAL_FILE_OR_SKIP(other, GetParam()[1]);
    EXPECT_TRUE(are_read_alike(one, other));
    EXPECT_TRUE(are_read_alike(other, one));
    const test::DngPhoto foreign;
    EXPECT_FALSE(are_read_alike(one, foreign.bytes));
}

INSTANTIATE_TEST_SUITE_P(All, LikenessOfRealFiles,
                         testing::Values(std::array<std::string, 2>{"pairs/canon-30d/IMG_5952.CR2",
                                                                    "pairs/canon-30d/IMG_0848.CR2"},
                                         std::array<std::string, 2>{"pairs/nikon-d5000-dng/sample1.dng",
                                                                    "pairs/nikon-d5000-dng/sample2.dng"},
                                         std::array<std::string, 2>{"pairs/picamera-rig/image_0.dng",
                                                                    "pairs/picamera-rig/image_3.dng"}));

} // namespace
} // namespace raw_mend
