#include "locate/NthSmallest.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <iterator>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::size_t kMostBins = 4096;
constexpr std::size_t kValuesPerBin = 2; ///< At least: empty bins take time, too.

/// Numbers that are not negative have the order of their bits.
std::uint32_t bits_of(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

} // namespace

float nth_smallest(std::span<const float> values, std::size_t place) {
    std::uint32_t least = ~std::uint32_t{0};
    std::uint32_t greatest = 0;
    for (const float value : values) {
        least = std::min(least, bits_of(value));
        greatest = std::max(greatest, bits_of(value));
    }
    const std::size_t bins =
        std::clamp<std::size_t>(std::bit_floor(values.size() / kValuesPerBin), 1, kMostBins);
    const auto range = static_cast<int>(std::bit_width(greatest - least));
    const int shift = std::max(0, range - static_cast<int>(std::bit_width(bins)) + 1);
    const auto bin_of = [&](float value) { return (bits_of(value) - least) >> shift; };
    std::vector<std::uint32_t> counts(bins);
    for (const float value : values) {
        ++counts[bin_of(value)];
    }
    std::size_t bin = 0;
    while (counts[bin] <= place) {
        place -= counts[bin++];
    }
    std::vector<float> near;
    near.reserve(counts[bin]);
    std::ranges::copy_if(values, std::back_inserter(near), [&](float value) { return bin_of(value) == bin; });
    const auto wanted = near.begin() + static_cast<std::ptrdiff_t>(place);
    std::ranges::nth_element(near, wanted);
    return *wanted;
}

} // namespace raw_mend
