#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace test {

/// The light in which a scene is taken. All except the plain one have a sensor's noise.
enum class Mood : unsigned { kPlain, kNoisy, kDark, kBright, kFlat, kNight };

/// The number of a photograph in this light; `number` is below 1000.
[[nodiscard]] constexpr unsigned number_of(Mood mood, unsigned number) {
    return 1000 * static_cast<unsigned>(mood) + number;
}

/// A made-up photograph: a lake between hills under an evening sky. Different numbers give different
/// photographs of the same place; numbers from 1000 on have another light, by number_of(). Its detail does
/// not depend on the size in pixels.
class Scene {
  public:
    explicit Scene(unsigned number) : mood_(static_cast<Mood>(number / 1000 % 6)), number_(number) {}

    /// Linear red, green and blue, 0 to 1, at x and y from 0 to 1.
    [[nodiscard]] std::array<double, 3> at(double x, double y) const;

    /// Interleaved 8-bit sRGB rows, as a camera's preview has them.
    [[nodiscard]] std::vector<unsigned char> rgb8(unsigned width, unsigned height) const;

    /// One sample per pixel, taken through an RGGB filter, black at black, white at 2^bits - 1.
    [[nodiscard]] std::vector<std::uint16_t> bayer(unsigned width, unsigned height, unsigned bits,
                                                   unsigned black = 0) const;

  private:
    [[nodiscard]] double noise_at(double linear) const;

    Mood mood_;
    unsigned number_;
};

} // namespace test
