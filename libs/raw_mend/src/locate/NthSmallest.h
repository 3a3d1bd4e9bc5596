#pragma once

#include <cstddef>
#include <span>

namespace raw_mend {

/// The value that exactly so many others come before, if values are in their order. None may be negative or
/// no number, and the place must be less than their count. Takes linear time, and less than to sort them in
/// part: only those near the place are.
[[nodiscard]] float nth_smallest(std::span<const float> values, std::size_t place);

} // namespace raw_mend
