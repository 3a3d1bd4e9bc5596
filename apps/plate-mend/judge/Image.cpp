#include "judge/Image.h"

#include <algorithm>
#include <cmath>

namespace plate_mend::host {

namespace {

constexpr std::size_t kColours = 3;
constexpr double kSameProportions = 0.03;

} // namespace

Image scale(const Image& image, std::size_t width, std::size_t height) {
    Image scaled{width, height, {}};
    scaled.rgb.reserve(kColours * width * height);
    for (std::size_t y = 0; y < height; ++y) {
        const std::size_t top = y * image.height / height;
        const std::size_t bottom = std::max(top + 1, (y + 1) * image.height / height);
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t left = x * image.width / width;
            const std::size_t right = std::max(left + 1, (x + 1) * image.width / width);
            for (std::size_t colour = 0; colour < kColours; ++colour) {
                std::size_t sum = 0;
                for (std::size_t row = top; row < bottom; ++row) {
                    for (std::size_t column = left; column < right; ++column) {
                        sum += image.pixel(column, row)[colour];
                    }
                }
                scaled.rgb.push_back(static_cast<unsigned char>(sum / ((bottom - top) * (right - left))));
            }
        }
    }
    return scaled;
}

Image fit_into(const Image& image, std::size_t width, std::size_t height) {
    const double across = static_cast<double>(width) / static_cast<double>(image.width);
    const double down = static_cast<double>(height) / static_cast<double>(image.height);
    if (std::abs(across / down - 1) <= kSameProportions) {
        return scale(image, width, height);
    }
    const double factor = std::min(across, down);
    const auto side = [factor](std::size_t length, std::size_t most) {
        const auto scaled = static_cast<std::size_t>(std::lround(factor * static_cast<double>(length)));
        return std::clamp<std::size_t>(scaled, 1, most);
    };
    const Image inner = scale(image, side(image.width, width), side(image.height, height));
    Image framed{width, height, std::vector<unsigned char>(kColours * width * height)};
    const std::size_t left = (width - inner.width) / 2;
    const std::size_t top = (height - inner.height) / 2;
    for (std::size_t y = 0; y < inner.height; ++y) {
        std::copy_n(inner.pixel(0, y), kColours * inner.width,
                    framed.rgb.begin() + static_cast<std::ptrdiff_t>(kColours * ((top + y) * width + left)));
    }
    return framed;
}

} // namespace plate_mend::host
