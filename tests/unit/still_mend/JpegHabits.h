#pragma once

#include "support/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct jpeg_compress_struct;

// JPEGs as encoders write them, and libjpeg's own judgement of a JPEG. Independent of the library.

namespace test {

/// What is done to libjpeg's defaults before a picture is written.
using Setting = std::function<void(jpeg_compress_struct& info)>;

/// Rows of interleaved samples.
struct Pixels {
    unsigned width = 0;
    unsigned height = 0;
    unsigned components = 3; ///< 1: grey, 3: RGB, 4: CMYK.
    std::vector<unsigned char> samples;
};

/// The scene with the given number of components. The fourth repeats the first.
[[nodiscard]] Pixels scene_pixels(unsigned scene, unsigned width, unsigned height, unsigned components);

/// The scene below a bar with a caption, as trail cameras add it: black, of an eighth of the height.
[[nodiscard]] Pixels captioned_pixels(unsigned scene, unsigned width, unsigned height);

/// A JPEG by libjpeg. Empty where this libjpeg cannot do what is set.
[[nodiscard]] Bytes encode(const Pixels& pixels, const Setting& set);

/// A way to write JPEGs.
struct Habit {
    std::string name;
    unsigned components = 3;
    Setting set;
    bool may_be_missing = false; ///< libjpeg can be built without it.
};
[[nodiscard]] const std::vector<Habit>& habits();

/// Whether libjpeg reads everything up to EOI without a warning.
[[nodiscard]] bool is_whole(const Bytes& jpeg);

/// The coefficients of each component as libjpeg reads them, over all warnings, block after block in rows.
struct Coefficients {
    std::size_t wide = 0; ///< Blocks side by side.
    std::size_t high = 0;
    unsigned h = 1; ///< Blocks of an MCU.
    unsigned v = 1;
    std::vector<std::int16_t> values;
};
[[nodiscard]] std::vector<Coefficients> coefficients(const Bytes& jpeg);

/// How many MCUs from the first on have the same coefficients in both.
[[nodiscard]] std::size_t same_mcus(const std::vector<Coefficients>& one,
                                    const std::vector<Coefficients>& other);

/// How many MCUs the bytes of a cut JPEG of one scan decide, whatever follows.
[[nodiscard]] std::size_t decided_mcus(const Bytes& cut);

} // namespace test
