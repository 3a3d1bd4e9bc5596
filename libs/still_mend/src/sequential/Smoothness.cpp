#include "sequential/Smoothness.h"

#include "fit/Statistics.h"

#include <algorithm>
#include <vector>

namespace still_mend {

double rough_step(double typical) {
    return 3 * typical + 2 * kLevel;
}

double typical_step(const Survey& survey) {
    constexpr std::size_t kEnough = 64;
    std::vector<double> steps;
    for (const bool closing : {true, false}) {
        for (const auto& run : survey.runs) {
            for (std::size_t mcu = 1; mcu < run.count && run.closes == closing; ++mcu) {
                steps.push_back(survey.traces.step_right(run.trace + mcu - 1, run.trace + mcu));
            }
        }
        if (steps.size() >= kEnough) {
            break;
        }
    }
    return median(steps);
}

std::size_t smooth_prefix(const McuTraces& traces, std::size_t first, std::size_t last, double typical) {
    // The prefix whose sum of (step - bound) is lowest: the classical test for a change of level.
    const double bound = rough_step(typical);
    double sum = 0;
    double lowest = 0;
    std::size_t best = std::min<std::size_t>(1, last - first);
    for (std::size_t mcu = first + 1; mcu < last; ++mcu) {
        sum += std::min(traces.step_right(mcu - 1, mcu), kMostRough * bound) - bound;
        if (sum <= lowest) {
            lowest = sum;
            best = mcu + 1 - first;
        }
    }
    return best;
}

} // namespace still_mend
