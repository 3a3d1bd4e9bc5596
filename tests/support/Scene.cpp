#include "support/Scene.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace test {

namespace {

using Color = std::array<double, 3>;

Color mix(const Color& from, const Color& to, double share) {
    const double part = std::clamp(share, 0.0, 1.0);
    return {from[0] + (to[0] - from[0]) * part, from[1] + (to[1] - from[1]) * part,
            from[2] + (to[2] - from[2]) * part};
}

/// A number from 0 to 1 for each point of a grid.
double hashed(int x, int y, unsigned seed) {
    std::uint32_t bits = static_cast<std::uint32_t>(x) * 374761393U +
                         static_cast<std::uint32_t>(y) * 668265263U + seed * 2246822519U;
    bits = (bits ^ (bits >> 13U)) * 1274126177U;
    return static_cast<double>((bits ^ (bits >> 16U)) & 0xFFFFFFU) / 16777215.0;
}

double smooth_noise(double x, double y, unsigned seed) {
    const int column = static_cast<int>(std::floor(x));
    const int row = static_cast<int>(std::floor(y));
    const auto ease = [](double t) { return t * t * (3 - 2 * t); };
    const double right = ease(x - column);
    const double down = ease(y - row);
    const double top = hashed(column, row, seed) * (1 - right) + hashed(column + 1, row, seed) * right;
    const double bottom =
        hashed(column, row + 1, seed) * (1 - right) + hashed(column + 1, row + 1, seed) * right;
    return top * (1 - down) + bottom * down;
}

double fractal_noise(double x, double y, unsigned seed) {
    double sum = 0;
    double weight = 0.5;
    for (unsigned octave = 0; octave < 5; ++octave) {
        sum += weight * smooth_noise(x, y, seed + octave);
        x *= 2;
        y *= 2;
        weight *= 0.5;
    }
    return sum;
}

constexpr double kShore = 0.62; // Where the lake begins, from the top.

Color sky(double x, double y, unsigned number) {
    const double sun_x = 0.3 + 0.4 * hashed(static_cast<int>(number), 7, 1);
    const Color zenith{0.05, 0.12, 0.30};
    const Color horizon{0.75, 0.38, 0.18};
    Color color = mix(zenith, horizon, y / kShore);
    const double distance = std::hypot((x - sun_x) * 1.5, y - 0.42);
    color = mix(color, {1.0, 0.85, 0.55}, 0.9 * std::exp(-distance * distance * 60));
    if (distance < 0.045) {
        color = {1.0, 0.95, 0.8};
    }
    const double cloud = fractal_noise(x * 5 + number, y * 14, 11) - 0.48;
    return mix(color, {0.85, 0.55, 0.45}, std::clamp(cloud * 3, 0.0, 0.7));
}

/// The height of a range of hills, from the top.
double ridge_of(unsigned range, double x, unsigned number) {
    return 0.40 + 0.07 * range +
           0.16 * (0.5 - fractal_noise(x * (2.5 + 2 * range) + 3 * number, 0, 31 + range));
}

bool is_on_hill(unsigned range, double x, double y, unsigned number) {
    constexpr double kMostHeight = 0.09; // Noise is from 0 to 1.
    const double middle = 0.40 + 0.07 * range;
    return y > middle + kMostHeight || (y > middle - kMostHeight && y > ridge_of(range, x, number));
}

Color land_and_sky(double x, double y, unsigned number) {
    const std::array<Color, 3> hills{{{0.16, 0.14, 0.24}, {0.07, 0.10, 0.12}, {0.02, 0.05, 0.03}}};
    for (auto range = static_cast<unsigned>(hills.size()); range-- > 0;) { // The nearest hides the others.
        if (is_on_hill(range, x, y, number)) {
            const double grain = range == 0 ? 0 : fractal_noise(x * 60, y * 60, 51 + range);
            return mix(hills[range], {0.12, 0.16, 0.06}, (grain - 0.3) * 0.4 * range);
        }
    }
    return sky(x, y, number);
}

Color place(double x, double y, unsigned number) {
    if (y < kShore) {
        return land_and_sky(x, y, number);
    }
    const double depth = (y - kShore) / (1 - kShore);
    const double wave = (fractal_noise(x * 30, y * 220, 71 + number) - 0.5) * 0.06 * (0.3 + depth);
    const double mirrored = kShore - (y - kShore) * 1.2 + wave;
    return mix(land_and_sky(x + wave * 0.3, std::max(mirrored, 0.0), number), {0.02, 0.06, 0.09},
               0.25 + 0.35 * depth);
}

/// A few lamps in the dark.
Color night(double x, double y, unsigned number, const Color& day) {
    double light = 0;
    for (int lamp = 0; lamp < 6; ++lamp) {
        const double away = std::hypot(x - hashed(lamp, 1, number), (y - hashed(lamp, 2, number)) * 0.75);
        light += 0.9 * std::exp(-away * away * 900);
    }
    return mix({0.006 * day[0], 0.008 * day[1], 0.01 * day[2]}, {1.0, 0.8, 0.5}, light);
}

Color lit(double x, double y, unsigned number, Mood mood) {
    Color color = place(x, y, number);
    if (mood == Mood::kNight) {
        return night(x, y, number, color);
    }
    for (double& linear : color) {
        linear = mood == Mood::kDark     ? 0.06 * linear
                 : mood == Mood::kBright ? std::min(1.0, 2.5 * linear)
                 : mood == Mood::kFlat   ? 0.3 + 0.04 * linear
                                         : linear;
    }
    return color;
}

} // namespace

Color Scene::at(double x, double y) const {
    return lit(x, y, number_, mood_);
}

/// The deviation of a sample, in shares of the range: that of photons and of the sensor.
double Scene::noise_at(double linear) const {
    const double gain = mood_ == Mood::kNoisy ? 0.01 : 0.0002;
    const double read = mood_ == Mood::kNoisy ? 0.006 : 0.0004;
    return std::sqrt(0.2 * gain * linear + read * read);
}

std::vector<unsigned char> Scene::rgb8(unsigned width, unsigned height) const {
    std::vector<unsigned char> pixels;
    pixels.reserve(std::size_t{width} * height * 3);
    for (unsigned row = 0; row < height; ++row) {
        for (unsigned column = 0; column < width; ++column) {
            for (const double linear : at((column + 0.5) / width, (row + 0.5) / height)) {
                pixels.push_back(static_cast<unsigned char>(std::lround(255 * std::pow(linear, 1 / 2.2))));
            }
        }
    }
    return pixels;
}

std::vector<std::uint16_t> Scene::bayer(unsigned width, unsigned height, unsigned bits,
                                        unsigned black) const {
    const double white = (1U << bits) - 1;
    std::vector<std::uint16_t> samples;
    samples.reserve(std::size_t{width} * height);
    std::mt19937 random(number_);
    const auto bell = [&random] { // Of deviation 1.
        constexpr double kMost = 4294967295.0;
        const double sum =
            static_cast<double>(random()) + static_cast<double>(random()) + static_cast<double>(random());
        return (sum / kMost - 1.5) * 2;
    };
    for (unsigned row = 0; row < height; ++row) {
        for (unsigned column = 0; column < width; ++column) {
            const std::size_t filter = row % 2 + column % 2; // R 0, G 1, B 2
            const double linear = at((column + 0.5) / width, (row + 0.5) / height)[filter];
            const double off = mood_ == Mood::kPlain ? 0 : bell() * noise_at(linear);
            const double sample = black + (linear * 0.9 + off) * (white - black);
            samples.push_back(static_cast<std::uint16_t>(std::lround(std::clamp(sample, 0.0, white))));
        }
    }
    return samples;
}

} // namespace test
