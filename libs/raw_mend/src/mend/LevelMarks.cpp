#include "mend/LevelMarks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace raw_mend {

namespace {

constexpr std::size_t kRowColours = 2; // Of a component, in turn from row to row.
constexpr std::size_t kKnownParts = 8; // Of the known rows, each of which is compared with the others.
constexpr double kFewKnown = 32768;    // Values of a component.
constexpr int kAround = 6;             // Shifts to both sides of 0 in these comparisons.

using Counts = std::vector<double>; // By value; those below 0 modulo 65536.

/// Where a parabola through seven neighbours passes the one in the middle. It follows the shape of a
/// picture's brightness; what remains is what differs from one value to the next.
Counts smooth(const Counts& counts) {
    constexpr std::array kWeights = {7.0 / 21, 6.0 / 21, 3.0 / 21, -2.0 / 21};
    Counts smoothed(counts.size());
    for (std::size_t at = kWeights.size() - 1; at + kWeights.size() <= counts.size(); ++at) {
        double sum = kWeights[0] * counts[at];
        for (std::size_t apart = 1; apart < kWeights.size(); ++apart) {
            sum += kWeights[apart] * (counts[at - apart] + counts[at + apart]);
        }
        smoothed[at] = std::max(sum, 0.0);
    }
    return smoothed;
}

/// How many times as often each value occurs as those around it, as logarithms; near 0 for rare ones.
Counts marks_of(const Counts& counts) {
    constexpr double kFew = 20;
    constexpr double kMost = 1.4;
    Counts marks = smooth(counts);
    for (std::size_t value = 0; value < counts.size(); ++value) {
        marks[value] = std::clamp(std::log((counts[value] + kFew) / (marks[value] + kFew)), -kMost, kMost);
    }
    return marks;
}

Counts subtract(const Counts& counts, const Counts& less) {
    Counts result(counts.size());
    std::ranges::transform(counts, less, result.begin(), std::minus());
    return result;
}

double sum_of(const Counts& counts) {
    return std::accumulate(counts.begin(), counts.end(), 0.0);
}

/// Adds to the logarithm of how likely each shift makes the values, from one shift on.
void add_scores(const Counts& rest, const Counts& marks, int first, std::vector<double>& scores) {
    for (double& score : scores) {
        for (std::size_t value = 0; value < marks.size(); ++value) {
            const auto from = static_cast<std::uint16_t>(static_cast<int>(value) - first);
            score += from < rest.size() ? rest[from] * marks[value] : 0;
        }
        ++first;
    }
}

/// The values of one colour of a component.
struct Histogram {
    std::vector<Counts> parts; ///< Of the known rows.
    Counts known;
    Counts run;
};

/// By component, then by colour.
std::vector<Histogram> count(const StreamFrame& frame, const StreamSlices& slices,
                             std::span<const std::uint16_t> values, std::span<const RowState> states,
                             std::size_t masked) {
    constexpr std::size_t kValues = 65536;
    std::vector<std::size_t> part_of(states.size());
    const auto known = static_cast<std::size_t>(std::ranges::count(states, RowState::kKnown));
    std::size_t nth = 0;
    for (std::size_t row = 0; row < states.size(); ++row) {
        part_of[row] = nth * kKnownParts / std::max<std::size_t>(known, 1);
        nth += states[row] == RowState::kKnown ? 1U : 0U;
    }
    const Counts none(frame.limit);
    std::vector<Histogram> all(frame.components * kRowColours,
                               {std::vector<Counts>(kKnownParts, none), none, Counts(kValues)});
    for (std::size_t slice = 0; slice < slices.count(); ++slice) {
        for (std::size_t row = 0; row < slices.height(); ++row) {
            for (std::size_t column = slice == 0 ? masked : 0; column < slices.width(slice); ++column) {
                const std::size_t at = slices.at(slice, column, row);
                const std::size_t component = at % frame.row % frame.components;
                Histogram& histogram = all[component * kRowColours + row % kRowColours];
                const RowState state = states[at / frame.row];
                if (state == RowState::kRun) {
                    ++histogram.run[values[at]];
                } else if (state == RowState::kKnown && values[at] < frame.limit) {
                    ++histogram.known[values[at]];
                    ++histogram.parts[part_of[at / frame.row]][values[at]];
                }
            }
        }
    }
    return all;
}

/// How many times likelier than it is a wrong shift may look, by the parts of the known values: for each, 0
/// is right. What makes it look so grows with the number of values.
double measure_excess(std::span<const Histogram> colours) {
    constexpr double kTolerated = 4; // Square of errors.
    double excess = 1;
    for (std::size_t part = 0; part < kKnownParts; ++part) {
        std::vector<double> scores(2 * kAround + 1);
        double run = 0;
        double size = 1;
        for (const Histogram& colour : colours) {
            const Counts& here = colour.parts[part];
            add_scores(subtract(here, smooth(here)), marks_of(subtract(colour.known, here)), -kAround,
                       scores);
            run += sum_of(colour.run);
            size += sum_of(here);
        }
        const double over = 2 * (*std::ranges::max_element(scores) - scores[kAround]);
        excess = std::max(excess, over / kTolerated * std::max(1.0, run / size));
    }
    return excess;
}

} // namespace

LevelMarks::LevelMarks(const StreamFrame& frame, const StreamSlices& slices,
                       std::span<const std::uint16_t> values, std::span<const RowState> states,
                       std::size_t masked) {
    const std::vector<Histogram> histograms = count(frame, slices, values, states, masked);
    for (std::size_t component = 0; component < frame.components; ++component) {
        const auto colours = std::span(histograms).subspan(component * kRowColours, kRowColours);
        excess_.push_back(measure_excess(colours));
        for (const Histogram& colour : colours) {
            if (sum_of(colour.known) >= kFewKnown) {
                colours_.push_back(
                    {component, subtract(colour.run, smooth(colour.run)), marks_of(colour.known)});
            }
        }
    }
}

std::vector<double> LevelMarks::costs(std::size_t component, int first, std::size_t count) const {
    std::vector<double> scores(count);
    for (const Colour& colour : colours_) {
        if (colour.component == component) {
            add_scores(colour.run, colour.marks, first, scores);
        }
    }
    const double best = *std::ranges::max_element(scores);
    for (double& score : scores) {
        score = colours_.empty() ? 0 : 2 * (best - score) / excess_[component];
    }
    return scores;
}

} // namespace raw_mend
