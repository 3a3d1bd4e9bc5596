#include "judge/Median.h"

#include <algorithm>
#include <cstddef>

namespace plate_mend::host {

double median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace plate_mend::host
