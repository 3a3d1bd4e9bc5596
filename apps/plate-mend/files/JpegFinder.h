#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace plate_mend::host {

/// A JPEG whose header is intact, up to its size. Its data were not examined.
struct JpegFound {
    std::uint64_t offset = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// The first 64 JPEGs in a file whose segments lead from SOI to a frame header with a size. Lossless ones,
/// which are raw data, are left out. Takes linear time, even in a file that is full of SOIs.
[[nodiscard]] std::vector<JpegFound> find_jpegs(std::span<const unsigned char> bytes);

} // namespace plate_mend::host
