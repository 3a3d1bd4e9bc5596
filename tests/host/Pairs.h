#pragma once

#include "support/Bytes.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace test {

/// What the photographs of a pair should be like.
struct PairOptions {
    bool large = false;       ///< About 480 x 360 pixels, where the builder lets one choose.
    bool other_order = false; ///< The sample's byte order is the other one, where a format has two.
    bool other_size = false;  ///< The sample is of another camera: as many pixels, but height for width.
};

/// Two photographs from one camera, and how much of the second's head may be lost.
struct Pair {
    Bytes sample;
    Bytes original;
    std::size_t lost = 0;
};

/// A format as people see it.
struct Format {
    const char* extension;
    std::function<Pair(const PairOptions&)> make;
    bool has_orders = true; ///< Its cameras write either byte order.
    bool has_sizes = true;  ///< The builder makes pictures of any size.
};

std::ostream& operator<<(std::ostream& stream, const Format& format);

/// All nine extensions.
[[nodiscard]] const std::vector<Format>& formats();

} // namespace test
