#pragma once

#include <vector>

namespace still_mend {

/// The median of the values, the upper one of two; 0 of none. Changes their order.
[[nodiscard]] double median(std::vector<double>& values);

/// The mean of the smaller three quarters, of at least one value. Changes their order.
[[nodiscard]] double mean_of_smaller(std::vector<double>& values);

} // namespace still_mend
