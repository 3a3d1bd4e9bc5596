#include "files/GreyPng.h"

#include "host/GreyPixels.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <system_error>

namespace plate_mend::host {
namespace {

/// Written with GreyPng, and read again.
test::GreyPixels written(std::uint32_t width, std::uint32_t height, const test::Bytes& pixels) {
    const test::TempDir folder;
    GreyPng png(folder / "grey.png", width, height);
    for (std::size_t row = 0; row < height; ++row) {
        png.add_row(std::span(pixels).subspan(row * width, width));
    }
    png.finish();
    return test::read_grey_png(folder / "grey.png");
}

TEST(GreyPng, HasThePixelsThatWereAdded) {
    for (const auto& [width, height] : {std::pair{1U, 1U}, std::pair{3U, 7U}, std::pair{1000U, 2U}}) {
        const test::Bytes pixels = test::noise(std::size_t{width} * height, 1);
        const test::GreyPixels picture = written(width, height, pixels);
        EXPECT_EQ(picture.width, width);
        EXPECT_EQ(picture.height, height);
        EXPECT_EQ(picture.pixels, pixels);
    }
}

TEST(GreyPng, TakesMoreThanOneChunk) {
    const test::Bytes pixels = test::noise(std::size_t{700} * 1000, 2); // Noise is not compressed.
    EXPECT_EQ(written(700, 1000, pixels).pixels, pixels);
}

TEST(GreyPng, OfOneValueIsSmall) {
    const test::TempDir folder;
    const test::Bytes row(6000);
    GreyPng png(folder / "grey.png", 6000, 4000);
    for (unsigned count = 0; count < 4000; ++count) {
        png.add_row(row);
    }
    png.finish();
    EXPECT_LT(std::filesystem::file_size(folder / "grey.png"), 50000U);
    EXPECT_EQ(test::read_grey_png(folder / "grey.png").pixels, test::Bytes(std::size_t{6000} * 4000));
}

TEST(GreyPng, ReplacesNothing) {
    const test::TempDir folder;
    test::write_file(folder / "grey.png", {1, 2, 3});
    EXPECT_THROW(GreyPng(folder / "grey.png", 1, 1), std::system_error);
    EXPECT_EQ(test::read_file(folder / "grey.png"), (test::Bytes{1, 2, 3}));
}

} // namespace
} // namespace plate_mend::host
