#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace test {

/// A made-up photograph: a lake between hills under an evening sky. Different numbers give different
/// photographs of the same place. Its detail does not depend on the size in pixels.
class Scene {
  public:
    explicit Scene(unsigned number) : number_(number) {}

    /// Linear red, green and blue, 0 to 1, at x and y from 0 to 1.
    [[nodiscard]] std::array<double, 3> at(double x, double y) const;

    /// Interleaved 8-bit sRGB rows, as a camera's preview has them.
    [[nodiscard]] std::vector<unsigned char> rgb8(unsigned width, unsigned height) const;

    /// One sample per pixel, taken through an RGGB filter, black at black, white at 2^bits - 1.
    [[nodiscard]] std::vector<std::uint16_t> bayer(unsigned width, unsigned height, unsigned bits,
                                                   unsigned black = 0) const;

  private:
    unsigned number_;
};

} // namespace test
