#include "sequential/Smoothness.h"

#include <algorithm>
#include <vector>

namespace still_mend {

double typical_step(const Survey& survey) {
    std::vector<double> steps;
    for (const bool closing : {true, false}) {
        for (const auto& run : survey.runs) {
            for (std::size_t mcu = 1; mcu < run.count && run.closes == closing; ++mcu) {
                steps.push_back(survey.traces.step_right(run.trace + mcu - 1, run.trace + mcu));
            }
        }
        if (steps.size() >= 64) {
            break;
        }
    }
    if (steps.empty()) {
        return 0;
    }
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    return *middle;
}

std::size_t smooth_prefix(const McuTraces& traces, std::size_t first, std::size_t last, double typical) {
    // The prefix whose sum of (step - bound) is lowest: the classical test for a change of level.
    const double bound = 3 * typical + 2 * 16;
    double sum = 0;
    double lowest = 0;
    std::size_t best = std::min<std::size_t>(1, last - first);
    for (std::size_t mcu = first + 1; mcu < last; ++mcu) {
        sum += std::min(traces.step_right(mcu - 1, mcu), 4 * bound) - bound;
        if (sum <= lowest) {
            lowest = sum;
            best = mcu + 1 - first;
        }
    }
    return best;
}

} // namespace still_mend
