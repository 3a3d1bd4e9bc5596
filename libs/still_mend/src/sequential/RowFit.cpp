#include "sequential/RowFit.h"

#include "fit/Statistics.h"
#include "sequential/Smoothness.h"

#include <algorithm>
#include <cmath>

namespace still_mend {

namespace {

constexpr std::size_t kLeastPairs = 8; // MCUs compared, or a whole row.
constexpr double kMostUnusual = 6;     // A step counts as at most this many usual ones: it may be an edge.
constexpr std::size_t kPairsForLevel = 24; // MCUs compared to prove a level, or a whole row.
constexpr double kDeviations = 3;          // Of the median from the mean: two standard deviations.

} // namespace

RowFit::RowFit(const Canvas& canvas, double typical)
    : canvas_(canvas), traces_(canvas.traces()), wide_(canvas.wide()), typical_(typical) {}

void RowFit::measure_usual_steps(const std::vector<RunPart>& parts) {
    for (std::size_t rows = 1; rows <= kRows; ++rows) {
        double sum = 0;
        double count = 0;
        for (const auto& part : parts) {
            for (std::size_t mcu = part.first + rows * wide_; mcu < part.last; ++mcu) {
                sum += traces_.step_down(mcu - rows * wide_, mcu);
                ++count;
            }
        }
        const double nearer = rows == 1 ? typical_ : usual_[rows - 1];
        usual_[rows] = std::max(count > 0 ? sum / count : nearer, nearer) + 1;
    }
}

std::optional<RowFit::Fit> RowFit::at(const RunPart& part, std::size_t position, std::size_t rows) {
    const auto pairs = pairs_at(part, position, rows);
    return are_enough(pairs) ? std::optional(fit_of(part, position, pairs, level_of(pairs))) : std::nullopt;
}

std::optional<RowFit::Fit> RowFit::at_level(const RunPart& part, std::size_t position, const Levels& level) {
    const auto pairs = pairs_at(part, position, kRows);
    return are_enough(pairs) ? std::optional(fit_of(part, position, pairs, level)) : std::nullopt;
}

bool RowFit::proves_level(const RunPart& part, std::size_t position, const Levels& level) const {
    const auto pairs = pairs_at(part, position, 1);
    if (pairs.size() < std::min(kPairsForLevel, wide_)) {
        return false;
    }
    std::vector<double> off;
    for (std::size_t component = 0; component < traces_.components(); ++component) {
        const double step = traces_.step_of_dc(component);
        off.clear();
        for (const auto& pair : pairs) {
            const double wanted = traces_.level_down(canvas_.trace(pair.above), pair.below, component);
            const double shift = canvas_.level(pair.above)[component] - level[component];
            off.push_back(std::abs(wanted + shift * step));
        }
        const double error =
            kDeviations * median(off) * std::sqrt(kNeighbours / static_cast<double>(off.size()));
        if (error > std::max(static_cast<double>(kLevel), step / 2)) {
            return false;
        }
    }
    return true;
}

std::size_t RowFit::misfits_before(const RunPart& part, std::size_t position, const Levels& level) const {
    double sum = 0;
    double highest = 0;
    std::size_t misfits = 0;
    for (std::size_t mcu = 0; mcu < std::min(part.size(), wide_); ++mcu) {
        if (const auto pair = pair_at(part, position, mcu, kRows)) {
            const double bound = rough_step(usual_[pair->rows]);
            sum += std::min(step_over(*pair, level), 3 * bound) - bound;
            if (sum > highest) {
                highest = sum;
                misfits = mcu + 1;
            }
        }
    }
    return misfits;
}

bool RowFit::continues(const RunPart& before, const RunPart& after) const {
    std::vector<double> steps;
    for (std::size_t mcu = after.first; mcu < std::min(after.last, after.first + wide_); ++mcu) {
        if (mcu >= wide_ && mcu - wide_ >= before.first && mcu - wide_ < before.last) {
            steps.push_back(traces_.step_down(mcu - wide_, mcu));
        }
    }
    return steps.size() >= std::min(kLeastPairs, wide_) && mean_of_smaller(steps) <= usual_[1] + kLevel;
}

RowFit::Fit RowFit::fit_of(const RunPart& part, std::size_t position, const std::vector<Pair>& pairs,
                           const Levels& level) {
    compared_ += pairs.size();
    Fit fit{position, level};
    double cost = 0;
    for (const auto& pair : pairs) {
        const double usual = usual_step(part, pair);
        const double step = std::min(step_over(pair, fit.level) / usual, kMostUnusual);
        fit.steps += step;
        cost += step + std::log(usual);
    }
    const auto count = static_cast<double>(pairs.size());
    fit.steps /= count;
    fit.cost = cost / count * static_cast<double>(std::min(part.size(), wide_)) / kNeighbours;
    return fit;
}

bool RowFit::are_enough(const std::vector<Pair>& pairs) const {
    return pairs.size() >= std::min(kLeastPairs, wide_);
}

std::vector<RowFit::Pair> RowFit::pairs_at(const RunPart& part, std::size_t position,
                                           std::size_t rows) const {
    std::vector<Pair> pairs;
    for (std::size_t mcu = 0; mcu < std::min(part.size(), wide_); ++mcu) {
        if (const auto pair = pair_at(part, position, mcu, rows)) {
            pairs.push_back(*pair);
        }
    }
    return pairs;
}

std::optional<RowFit::Pair> RowFit::pair_at(const RunPart& part, std::size_t position, std::size_t mcu,
                                            std::size_t rows) const {
    std::size_t above = position + mcu;
    for (std::size_t row = 1; row <= rows && above >= wide_ && above < canvas_.total() + wide_; ++row) {
        above -= wide_;
        if (canvas_.is_filled(above)) {
            return Pair{above, part.first + mcu, row};
        }
    }
    return std::nullopt;
}

double RowFit::step_over(const Pair& pair, const Levels& level) const {
    const int offset = (level[0] - canvas_.level(pair.above)[0]) * traces_.step_of_dc();
    return traces_.step_down(canvas_.trace(pair.above), pair.below, offset);
}

/// The usual step over this many rows in this place: the mean of those further up, those within the part, and
/// the usual step between rows.
double RowFit::usual_step(const RunPart& part, const Pair& pair) const {
    const std::size_t apart = pair.rows * wide_;
    double sum = usual_[1];
    double count = 1;
    if (pair.above >= apart && canvas_.is_filled(pair.above - apart)) {
        const auto& upper = canvas_.level(pair.above - apart);
        const int offset = (canvas_.level(pair.above)[0] - upper[0]) * traces_.step_of_dc();
        sum += traces_.step_down(canvas_.trace(pair.above - apart), canvas_.trace(pair.above), offset);
        ++count;
    }
    if (pair.below + apart < part.last) {
        sum += traces_.step_down(pair.below, pair.below + apart);
        ++count;
    }
    return count > 1 ? sum / count : usual_[std::min(pair.rows, kRows)];
}

/// The median of what would level each MCU with that above it, by the nearest of them.
Levels RowFit::level_of(const std::vector<Pair>& pairs) const {
    std::size_t rows = 0;
    for (std::size_t near = 0; near < kLeastPairs && near < pairs.size();) {
        ++rows;
        near = static_cast<std::size_t>(std::count_if(
            pairs.begin(), pairs.end(), [rows](const Pair& pair) { return pair.rows <= rows; }));
    }
    Levels levels{};
    std::vector<double> values;
    for (std::size_t component = 0; component < traces_.components(); ++component) {
        values.clear();
        for (const auto& pair : pairs) {
            if (pair.rows <= rows) {
                const double known = canvas_.level(pair.above)[component];
                const int level = traces_.level_down(canvas_.trace(pair.above), pair.below, component);
                values.push_back(known + static_cast<double>(level) / traces_.step_of_dc(component));
            }
        }
        levels[component] = static_cast<std::int32_t>(std::lround(median(values)));
    }
    return levels;
}

} // namespace still_mend
