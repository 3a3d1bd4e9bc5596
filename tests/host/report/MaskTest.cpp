#include "report/Mask.h"

#include "host/GreyPixels.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace plate_mend::host {
namespace {

FoundImage image_of(std::vector<FrameArea> lost, std::vector<FrameArea> doubtful) {
    FoundImage image;
    image.frame_width = 20;
    image.frame_height = 10;
    image.lost = std::move(lost);
    image.doubtful = std::move(doubtful);
    return image;
}

test::GreyPixels mask_of(const FoundImage& image) {
    const test::TempDir folder;
    EXPECT_TRUE(write_mask(image, folder / "mask.png"));
    return test::read_grey_png(folder / "mask.png");
}

TEST(Mask, HasAPixelForEachOfTheFrame) {
    const auto mask = mask_of(image_of({{3, 2, 4, 1}}, {{0, 9, 20, 1}}));
    ASSERT_EQ(mask.width, 20U);
    ASSERT_EQ(mask.height, 10U);
    for (std::size_t y = 0; y < 10; ++y) {
        for (std::size_t x = 0; x < 20; ++x) {
            const bool lost = y == 2 && x >= 3 && x < 7;
            EXPECT_EQ(mask.at(x, y), lost ? kMaskLost : y == 9 ? kMaskDoubtful : kMaskOwn) << x << ", " << y;
        }
    }
}

TEST(Mask, ShowsWhatIsBothAsLost) {
    const auto mask = mask_of(image_of({{5, 5, 2, 2}}, {{0, 0, 20, 10}}));
    EXPECT_EQ(mask.at(5, 5), kMaskLost);
    EXPECT_EQ(mask.at(7, 5), kMaskDoubtful);
}

TEST(Mask, KeepsToTheFrame) {
    const auto mask = mask_of(image_of({{18, 8, UINT32_MAX, UINT32_MAX}, {40, 0, 5, 5}, {0, 40, 5, 5}}, {}));
    EXPECT_EQ(std::count(mask.pixels.begin(), mask.pixels.end(), kMaskLost), 4);
}

TEST(Mask, IsNotWrittenForAFrameOfUnknownSize) {
    const test::TempDir folder;
    for (const auto& [width, height] : {std::pair{0U, 10U}, std::pair{10U, 0U}, std::pair{0x80000000U, 1U}}) {
        FoundImage image = image_of({}, {});
        image.frame_width = width;
        image.frame_height = height;
        EXPECT_FALSE(write_mask(image, folder / "mask.png"));
        EXPECT_FALSE(std::filesystem::exists(folder / "mask.png"));
    }
}

} // namespace
} // namespace plate_mend::host
