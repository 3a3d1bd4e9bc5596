#pragma once

#include "locate/RowGeometry.h"
#include "support/Bytes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace test {

/// Samples, row by row.
struct Picture {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<std::uint16_t> samples; ///< 12 bits.

    [[nodiscard]] std::uint16_t& at(std::size_t x, std::size_t y) { return samples[y * width + x]; }
};

/// Clouds at all sizes, through a colour filter, with a little noise: as much detail everywhere as a
/// photograph has in its textured parts.
[[nodiscard]] Picture clouds(std::size_t width, std::size_t height, unsigned number);

/// The same brightness everywhere, and noise of that amplitude.
[[nodiscard]] Picture flat_picture(std::size_t width, std::size_t height, unsigned noise);

/// A JPEG as a sensor would see it: linear light, through a colour filter, brighter by a factor, and noise
/// that grows with the square root of the light. The width is cut to a multiple of 32.
[[nodiscard]] Picture picture_of_jpeg(const Bytes& jpeg, double light, double noise);

/// The geometry of a picture in a packing. For cells, the width must be a multiple of 32.
[[nodiscard]] raw_mend::RowGeometry geometry_of(const Picture& picture, raw_mend::Packing packing,
                                                unsigned bits);

/// The sample that stands for one of the picture's, at its place in it. Where there are more than 12 bits,
/// the lowest ones are noise, or 0.
enum class LowBits { kNoise, kZero };
[[nodiscard]] unsigned stored_sample(unsigned value, std::size_t place, unsigned bits,
                                     LowBits low = LowBits::kNoise);

/// The picture's rows in such a geometry.
[[nodiscard]] Bytes coded_rows(const Picture& picture, const raw_mend::RowGeometry& geometry,
                               LowBits low = LowBits::kNoise);

/// All packings, each with a number of bits.
struct NamedPacking {
    std::string name;
    raw_mend::Packing packing;
    unsigned bits;
};
[[nodiscard]] const std::vector<NamedPacking>& packings();

} // namespace test
