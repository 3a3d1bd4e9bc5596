#include "mend/GapChoice.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

namespace raw_mend {

namespace {

constexpr double kNever = std::numeric_limits<double>::infinity();
constexpr double kMostByChance = 4; // By how much the best of many places beats the right one.
constexpr double kMostPenalty = 12;

double median_of(std::vector<double> values) {
    const auto middle = values.begin() + std::ssize(values) / 2;
    std::ranges::nth_element(values, middle);
    return *middle;
}

/// How much places differ by chance: as those do that are a few rows apart, mostly.
double measure_chance(const std::vector<SidePlace>& places) {
    constexpr std::size_t kApart = 3;
    constexpr double kLeast = 4;
    std::vector<double> steps{kLeast};
    for (std::size_t nth = kApart; nth < places.size(); ++nth) {
        steps.push_back(std::abs(places[nth].worse - places[nth - kApart].worse));
    }
    return std::max(median_of(std::move(steps)), kLeast);
}

/// The likeliest way to miss so many rows in all.
struct Sum {
    double penalty = kNever;
    std::ptrdiff_t rows = 0; // Of the last gap.
};

/// Those of some first gaps.
struct Sums {
    std::ptrdiff_t least = 0;
    std::vector<Sum> from_least{{0, 0}};
};

Sums add_gap(const Sums& before, const std::vector<GapOption>& options, const PlaceEvidence& evidence) {
    const auto [least, most] = std::ranges::minmax(options, {}, &GapOption::rows);
    const auto wider = static_cast<std::size_t>(most.rows - least.rows);
    Sums next{before.least + least.rows, std::vector<Sum>(before.from_least.size() + wider)};
    for (std::size_t nth = 0; nth < before.from_least.size(); ++nth) {
        for (const GapOption& option : options) {
            Sum& sum = next.from_least[nth + static_cast<std::size_t>(option.rows - least.rows)];
            const double penalty = before.from_least[nth].penalty + option.penalty;
            if (penalty < sum.penalty) {
                sum = {penalty, option.rows};
            }
        }
    }
    std::ptrdiff_t rows = next.least;
    for (Sum& sum : next.from_least) {
        sum.penalty += evidence.penalty(rows);
        ++rows;
    }
    return next;
}

/// Nothing if there cannot be so many in all.
std::optional<std::vector<std::ptrdiff_t>> choose_with_sum(const std::vector<std::vector<GapOption>>& options,
                                                           const std::vector<PlaceEvidence>& evidence,
                                                           std::optional<std::ptrdiff_t> all) {
    std::vector<Sums> after{Sums{}}; // That many gaps.
    for (std::size_t gap = 0; gap < options.size(); ++gap) {
        after.push_back(add_gap(after.back(), options[gap], evidence[gap]));
    }
    const Sums& last = after.back();
    const auto likeliest = std::ranges::min_element(last.from_least, {}, &Sum::penalty);
    std::ptrdiff_t sum = all.value_or(last.least + (likeliest - last.from_least.begin()));
    std::vector<std::ptrdiff_t> rows(options.size());
    for (std::size_t gap = options.size(); gap > 0; --gap) {
        const Sums& sums = after[gap];
        const std::ptrdiff_t nth = sum - sums.least;
        if (nth < 0 || nth >= std::ssize(sums.from_least) ||
            sums.from_least[static_cast<std::size_t>(nth)].penalty == kNever) {
            return std::nullopt;
        }
        rows[gap - 1] = sums.from_least[static_cast<std::size_t>(nth)].rows;
        sum -= rows[gap - 1];
    }
    return rows;
}

} // namespace

PlaceEvidence::PlaceEvidence(const std::vector<SidePlace>& places, std::ptrdiff_t rows)
    : first_(rows + places.front().rows) {
    const double chance = measure_chance(places);
    std::vector<double> penalties;
    penalties.reserve(places.size());
    for (const SidePlace& place : places) {
        penalties.push_back(std::clamp(place.worse / chance - kMostByChance, 0.0, kMostPenalty));
    }
    elsewhere_ = median_of(penalties);
    penalties_.resize(static_cast<std::size_t>(places.back().rows - places.front().rows + 1), elsewhere_);
    for (std::size_t nth = 0; nth < places.size(); ++nth) {
        penalties_[static_cast<std::size_t>(places[nth].rows - places.front().rows)] = penalties[nth];
    }
}

double PlaceEvidence::penalty(std::ptrdiff_t rows) const {
    const std::ptrdiff_t nth = rows - first_;
    const bool is_compared = nth >= 0 && nth < std::ssize(penalties_);
    return is_compared ? penalties_[static_cast<std::size_t>(nth)] : elsewhere_;
}

std::vector<std::ptrdiff_t> choose_rows(const std::vector<std::vector<GapOption>>& options,
                                        const std::vector<PlaceEvidence>& evidence,
                                        std::optional<std::ptrdiff_t> all) {
    if (auto found = choose_with_sum(options, evidence, all)) {
        return std::move(*found);
    }
    std::vector<std::ptrdiff_t> likeliest;
    likeliest.reserve(options.size());
    std::ptrdiff_t rest = all.value_or(0);
    for (const auto& of_gap : options) {
        likeliest.push_back(std::ranges::min_element(of_gap, {}, &GapOption::penalty)->rows);
        rest -= likeliest.back();
    }
    likeliest.back() += rest;
    return likeliest;
}

} // namespace raw_mend
