#pragma once

#include <cstddef>
#include <vector>

namespace plate_mend::host {

/// Interleaved RGB rows, 8 bits per sample.
struct Image {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<unsigned char> rgb;

    [[nodiscard]] const unsigned char* pixel(std::size_t x, std::size_t y) const {
        return &rgb[3 * (y * width + x)];
    }
};

/// The image in another size; each pixel is the mean of those it replaces, or the nearest one where it is
/// smaller than these. No side may be 0.
[[nodiscard]] Image scale(const Image& image, std::size_t width, std::size_t height);

/// The whole image within a frame of this size, in the middle, with its proportions. Black bars fill the
/// rest; a difference of up to 3 % is scaled away instead. No side may be 0.
[[nodiscard]] Image fit_into(const Image& image, std::size_t width, std::size_t height);

} // namespace plate_mend::host
