#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <filesystem>

namespace test {

/// The pixels of a PNG of 8-bit grey, row by row. All empty for a file that is none.
struct GreyPixels {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Bytes pixels;

    [[nodiscard]] unsigned char at(std::size_t x, std::size_t y) const { return pixels.at(y * width + x); }
};

/// Reads one whose rows have no filter. Every chunk's sum must be right, and nothing may follow IEND.
[[nodiscard]] GreyPixels read_grey_png(const std::filesystem::path& path);

} // namespace test
