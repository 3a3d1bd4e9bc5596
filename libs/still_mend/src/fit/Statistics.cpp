#include "fit/Statistics.h"

#include <algorithm>
#include <numeric>

namespace still_mend {

double median(std::vector<double>& values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double mean_of_smaller(std::vector<double>& values) {
    const std::size_t kept = std::max<std::size_t>(values.size() * 3 / 4, 1);
    const auto end = values.begin() + static_cast<std::ptrdiff_t>(kept);
    std::nth_element(values.begin(), end - 1, values.end());
    return std::accumulate(values.begin(), end, 0.0) / static_cast<double>(kept);
}

} // namespace still_mend
