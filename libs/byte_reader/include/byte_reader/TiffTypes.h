#pragma once

#include <array>
#include <cstdint>

namespace byte_reader {

/// Bytes per value of a type of TIFF 6.0, or of type 13, IFD, of its supplements; 0 where there is no such
/// type.
[[nodiscard]] constexpr std::uint64_t size_of_tiff_type(std::uint16_t type) {
    constexpr std::array<std::uint64_t, 14> kSizes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
    return type < kSizes.size() ? kSizes.at(type) : 0;
}

} // namespace byte_reader
