#include "report/Mask.h"

#include "files/GreyPng.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace plate_mend::host {

namespace {

/// Sides that PNG allows.
constexpr std::uint32_t kLongestSide = 0x7FFFFFFF;

bool is_in(std::uint32_t row, const FrameArea& area) {
    return row >= area.top && row - area.top < area.height;
}

void paint(const std::vector<FrameArea>& areas, std::uint32_t row, unsigned char value,
           std::vector<unsigned char>& pixels) {
    for (const FrameArea& area : areas) {
        if (is_in(row, area)) {
            const std::size_t first = std::min<std::size_t>(area.left, pixels.size());
            const std::size_t count = std::min<std::size_t>(area.width, pixels.size() - first);
            std::fill_n(pixels.begin() + static_cast<std::ptrdiff_t>(first), count, value);
        }
    }
}

} // namespace

bool write_mask(const FoundImage& image, const std::filesystem::path& file) {
    if (image.frame_width == 0 || image.frame_height == 0 || image.frame_width > kLongestSide ||
        image.frame_height > kLongestSide) {
        return false;
    }
    GreyPng png(file, image.frame_width, image.frame_height);
    std::vector<unsigned char> pixels(image.frame_width);
    for (std::uint32_t row = 0; row < image.frame_height; ++row) {
        std::fill(pixels.begin(), pixels.end(), kMaskOwn);
        paint(image.doubtful, row, kMaskDoubtful, pixels);
        paint(image.lost, row, kMaskLost, pixels); // Areas may overlap: what is lost is not doubtful.
        png.add_row(pixels);
    }
    png.finish();
    return true;
}

} // namespace plate_mend::host
