#include "mend/LevelShift.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace raw_mend {

namespace {

constexpr double kMuchLess = 14; // Likely, as the sum of squares by their errors.

/// Standard errors are measured, and so not exact themselves.
double safe_error(double error) {
    return 1.2 * error + 0.03;
}

/// A measured number and its standard error.
struct Normal {
    double mean = 0;
    double error = 1;

    /// How unlikely a number is.
    [[nodiscard]] double cost(int number) const {
        const double times = (number - mean) / error;
        return times * times;
    }
};

Normal combine_component(std::span<const LevelEstimate> estimates, std::size_t component) {
    double sum = 0;
    double total = 0;
    for (const LevelEstimate& one : estimates) {
        const double error = safe_error(one.error[component]);
        sum += one.shift[component] / (error * error);
        total += 1 / (error * error);
    }
    return total > 0 ? Normal{sum / total, 1 / std::sqrt(total)} : Normal{0, 1000};
}

/// Whether no estimate contradicts the shifts.
bool are_consistent(std::span<const LevelEstimate> estimates, const std::vector<int>& shift) {
    constexpr double kMostCost = 9;
    return std::ranges::all_of(estimates, [&](const LevelEstimate& one) {
        for (std::size_t component = 0; component < shift.size(); ++component) {
            if (Normal{one.shift[component], safe_error(one.error[component])}.cost(shift[component]) >
                kMostCost) {
                return false;
            }
        }
        return true;
    });
}

/// Whole shifts, and how unlikely they are.
struct ShiftCost {
    double cost = 0;
    std::vector<int> shift; ///< By component, or of one.

    bool operator<(const ShiftCost& other) const {
        return std::tie(cost, shift) < std::tie(other.cost, other.shift);
    }
};

/// Shifts of one component around its mean.
std::vector<ShiftCost> costs_of(const Normal& sum, const LevelMarks& marks, std::size_t component) {
    constexpr double kErrors = 4; // To both sides.
    constexpr double kLeast = 4;  // Whole levels.
    constexpr double kMost = 32;
    const auto around = static_cast<std::size_t>(std::clamp(kErrors * sum.error, kLeast, kMost));
    const int first = static_cast<int>(std::lround(sum.mean)) - static_cast<int>(around);
    std::vector<ShiftCost> all;
    for (const double cost : marks.costs(component, first, 2 * around + 1)) {
        const int shift = first + static_cast<int>(all.size());
        all.push_back({cost + sum.cost(shift), {shift}});
    }
    return all;
}

/// Shifts of two components together.
std::vector<ShiftCost> join(const std::vector<ShiftCost>& first, const std::vector<ShiftCost>& second,
                            const Normal& difference) {
    std::vector<ShiftCost> all;
    for (const ShiftCost& one : first) {
        for (const ShiftCost& other : second) {
            const int apart = other.shift.front() - one.shift.front();
            all.push_back(
                {one.cost + other.cost + difference.cost(apart), {one.shift.front(), other.shift.front()}});
        }
    }
    return all;
}

} // namespace

LevelShift combine(std::span<const LevelEstimate> estimates, const std::optional<GreenBalance>& balance,
                   const LevelMarks& marks, std::size_t components) {
    std::vector<std::vector<ShiftCost>> costs;
    for (std::size_t component = 0; component < components; ++component) {
        costs.push_back(costs_of(combine_component(estimates, component), marks, component));
    }
    if (components == 2 && balance) {
        const Normal difference{balance->difference, safe_error(2 * balance->error)};
        costs = {join(costs[0], costs[1], difference)};
    }
    LevelShift result;
    double gap = estimates.empty() ? 0 : kMuchLess;
    for (std::vector<ShiftCost>& one : costs) {
        std::partial_sort(one.begin(), one.begin() + 2, one.end());
        result.shift.insert(result.shift.end(), one[0].shift.begin(), one[0].shift.end());
        gap = std::min(gap, one[1].cost - 2 * one[0].cost);
    }
    result.is_certain = gap >= kMuchLess && are_consistent(estimates, result.shift);
    return result;
}

} // namespace raw_mend
