#pragma once

#include <vector>

namespace plate_mend::host {

/// The median of these values, of an even number the upper one of the two in the middle; 0 for none. No value
/// is NaN.
[[nodiscard]] double median(std::vector<double> values);

} // namespace plate_mend::host
