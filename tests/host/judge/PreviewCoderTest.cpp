#include "judge/PreviewCoder.h"

#include "support/Jpeg.h"

#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

/// Red on the left, blue on the right.
Image two_halves(std::size_t width, std::size_t height) {
    Image image{width, height, {}};
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            const bool left = x < width / 2;
            const auto red = static_cast<unsigned char>(left ? 200 : 10);
            const auto blue = static_cast<unsigned char>(left ? 10 : 200);
            image.rgb.insert(image.rgb.end(), {red, 10, blue});
        }
    }
    return image;
}

bool is_red(const Image& image, std::size_t x, std::size_t y) {
    return image.pixel(x, y)[0] == 200 && image.pixel(x, y)[2] == 10;
}

bool is_blue(const Image& image, std::size_t x, std::size_t y) {
    return image.pixel(x, y)[0] == 10 && image.pixel(x, y)[2] == 200;
}

bool is_black(const Image& image, std::size_t x, std::size_t y) {
    return image.pixel(x, y)[0] == 0 && image.pixel(x, y)[1] == 0 && image.pixel(x, y)[2] == 0;
}

Image image_of(std::vector<unsigned char> rgb, std::size_t width, std::size_t height) {
    return {width, height, std::move(rgb)};
}

TEST(Image, IsScaledBothWays) {
    for (const std::size_t width : {30U, 300U}) {
        const Image scaled = scale(two_halves(120, 80), width, width * 2 / 3);
        ASSERT_EQ(scaled.rgb.size(), 3 * width * (width * 2 / 3));
        EXPECT_TRUE(is_red(scaled, 0, 0));
        EXPECT_TRUE(is_blue(scaled, width - 1, width * 2 / 3 - 1));
        EXPECT_TRUE(is_red(scaled, width / 2 - 1, 5));
        EXPECT_TRUE(is_blue(scaled, width / 2, 5));
    }
}

TEST(Image, ScaledToOnePixelIsItsMean) {
    const Image scaled = scale(two_halves(120, 80), 1, 1);
    EXPECT_EQ(scaled.rgb, (std::vector<unsigned char>{105, 10, 105}));
}

TEST(Image, KeepsItsProportionsWithinAFrame) {
    const Image framed = fit_into(two_halves(120, 80), 160, 120); // 160 x 107 in the middle.
    EXPECT_EQ(framed.rgb.size(), 3U * 160 * 120);
    EXPECT_TRUE(is_black(framed, 80, 5));
    EXPECT_TRUE(is_black(framed, 80, 114));
    EXPECT_TRUE(is_red(framed, 0, 60));
    EXPECT_TRUE(is_blue(framed, 159, 60));
    const Image upright = fit_into(two_halves(120, 80), 60, 90);
    EXPECT_TRUE(is_black(upright, 30, 20));
    EXPECT_TRUE(is_red(upright, 0, 45));
}

TEST(Image, FillsAFrameOfNearlyItsProportions) {
    const Image framed = fit_into(two_halves(120, 80), 120, 79);
    EXPECT_TRUE(is_red(framed, 0, 0));
    EXPECT_TRUE(is_blue(framed, 119, 78));
}

TEST(PreviewCoder, JpegHasTheSizeThatWasAskedFor) {
    const PreviewCoder coder(two_halves(600, 400));
    const auto jpeg = coder.jpeg(160, 120, 1'000'000);
    EXPECT_TRUE(test::jpeg_decodes(jpeg));
    ASSERT_GT(jpeg.size(), 170U);
    const std::vector<unsigned char> sides = {0, 120, 0, 160}; // In the SOF.
    EXPECT_NE(std::search(jpeg.begin(), jpeg.end(), sides.begin(), sides.end()), jpeg.end());
}

TEST(PreviewCoder, JpegIsNoLongerThanItMayBe) {
    Image rough{600, 400, {}};
    for (const unsigned char byte : test::noise(std::size_t{3} * 600 * 400, 3)) {
        rough.rgb.push_back(byte);
    }
    const PreviewCoder coder(std::move(rough));
    const auto best = coder.jpeg(300, 200, 1'000'000);
    const auto shorter = coder.jpeg(300, 200, best.size() - 1);
    EXPECT_LT(shorter.size(), best.size());
    EXPECT_TRUE(test::jpeg_decodes(shorter));
    const auto shortest = coder.jpeg(300, 200, 1);
    EXPECT_LT(shortest.size(), shorter.size());
    EXPECT_TRUE(test::jpeg_decodes(shortest)) << "a picture, even if it is too long";
}

TEST(PreviewCoder, RgbHasThreeBytesPerPixel) {
    const auto rgb = PreviewCoder(two_halves(600, 400)).rgb(160, 107);
    ASSERT_EQ(rgb.size(), 3U * 160 * 107);
    EXPECT_TRUE(is_red(image_of(rgb, 160, 107), 10, 50));
}

TEST(PreviewCoder, RefusesSizesThatNoPreviewHas) {
    EXPECT_TRUE(PreviewCoder::can_code(1, 1));
    EXPECT_TRUE(PreviewCoder::can_code(8256, 5504));
    EXPECT_FALSE(PreviewCoder::can_code(0, 120));
    EXPECT_FALSE(PreviewCoder::can_code(160, 0));
    EXPECT_FALSE(PreviewCoder::can_code(65535, 65535));
    EXPECT_FALSE(PreviewCoder::can_code(4294967295U, 4294967295U));
}

} // namespace
} // namespace plate_mend::host
