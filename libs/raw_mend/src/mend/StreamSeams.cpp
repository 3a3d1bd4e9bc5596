#include "mend/StreamSeams.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace raw_mend {

namespace {

constexpr std::size_t kSide = 5; // Values of one colour that continue a side.
constexpr std::size_t kMargin = 2 * kSide;
constexpr std::size_t kFewSeamRows = 48;
constexpr std::size_t kSeamTests = 8; // On each side.
constexpr std::size_t kSmoothing = 8; // Rows, to both sides.

/// A row of the picture beside a seam: its slice and row on the left, and those on the right.
struct SeamRow {
    std::size_t left = 0;
    std::size_t right = 0;
    std::size_t row = 0;
};

class Seam {
  public:
    Seam(const StreamFrame& frame, const StreamSlices& slices, std::span<const std::uint16_t> values)
        : frame_(frame), slices_(slices), values_(values), weights_(weigh_rows(kSide, 0, true)) {}

    /// The steps of a component from left to right, so many columns after the seam, or before it.
    [[nodiscard]] WeightedMean step(const std::vector<SeamRow>& rows, std::size_t component,
                                    std::ptrdiff_t distance) const {
        std::vector<double> steps;
        std::vector<double> roughness;
        for (const SeamRow& row : rows) {
            for (std::size_t parity = 0; parity < 2; ++parity) {
                const std::size_t first = slices_.at(row.right, parity, row.row);
                if (first % frame_.row % frame_.components == component) {
                    add(row, parity, distance, steps, roughness);
                }
            }
        }
        return weigh(steps, roughness);
    }

  private:
    [[nodiscard]] double value_at(const SeamRow& row, std::ptrdiff_t column) const {
        const auto width = static_cast<std::ptrdiff_t>(slices_.width(row.left));
        const std::size_t at = column < 0
                                   ? slices_.at(row.left, static_cast<std::size_t>(width + column), row.row)
                                   : slices_.at(row.right, static_cast<std::size_t>(column), row.row);
        return signed_value(values_[at]);
    }

    void add(const SeamRow& row, std::size_t parity, std::ptrdiff_t distance, std::vector<double>& steps,
             std::vector<double>& roughness) const {
        double step = 0;
        double rough = 1;
        const auto first = static_cast<std::ptrdiff_t>(parity) + distance;
        for (std::size_t nth = 0; nth < kSide; ++nth) {
            const auto away = static_cast<std::ptrdiff_t>(2 * nth);
            const double right = value_at(row, first + away);
            const double left = value_at(row, first - 2 - away);
            step += weights_[nth] * (right - left);
            const double further = nth + 1 < kSide ? value_at(row, first + away + 2) - right : 0;
            const double further_left = nth + 1 < kSide ? value_at(row, first - 4 - away) - left : 0;
            rough += further * further + further_left * further_left;
        }
        steps.push_back(step);
        roughness.push_back(rough);
    }

    /// Those count most whose rows are smooth there.
    static WeightedMean weigh(const std::vector<double>& steps, const std::vector<double>& roughness) {
        WeightedMean mean;
        for (std::size_t at = 0; at < steps.size(); ++at) {
            double rough = 0;
            const std::size_t first = at - std::min(at, kSmoothing);
            const std::size_t last = std::min(at + kSmoothing + 1, steps.size());
            for (std::size_t other = first; other < last; ++other) {
                rough += roughness[other];
            }
            mean.add(steps[at], static_cast<double>(last - first) / rough);
        }
        return mean;
    }

    const StreamFrame& frame_;
    const StreamSlices& slices_;
    std::span<const std::uint16_t> values_;
    std::vector<double> weights_; // Of the values of a side, the nearest to the seam first.
};

/// Rows that are known on the left of a seam, and known or of the run on its right.
std::vector<SeamRow> find_rows(const StreamFrame& frame, const StreamSlices& slices,
                               std::span<const RowState> states, RowState wanted) {
    std::vector<SeamRow> rows;
    for (std::size_t right = 1; right < slices.count(); ++right) {
        const std::size_t left = right - 1;
        if (slices.width(left) % 2 != 0 || slices.width(left) < 2 * kMargin * (kSeamTests + 2) ||
            slices.width(right) < 2 * kMargin * (kSeamTests + 2)) {
            continue;
        }
        const auto state = [&](std::size_t slice, std::size_t column, std::size_t row) {
            return states[slices.at(slice, column, row) / frame.row];
        };
        for (std::size_t row = 0; row < slices.height(); ++row) {
            if (state(left, 0, row) == RowState::kKnown &&
                state(left, slices.width(left) - 1, row) == RowState::kKnown &&
                state(right, 0, row) == wanted && state(right, slices.width(right) - 1, row) == wanted) {
                rows.push_back({left, right, row});
            }
        }
    }
    return rows;
}

/// The mean step at a seam and its standard error.
struct SeamStep {
    double step = 0;
    double error = 0;
};

SeamStep measure_step(const Seam& seam, const std::vector<SeamRow>& rows, std::size_t component) {
    std::vector<WeightedMean> tests;
    for (std::size_t test = 1; test <= kSeamTests; ++test) {
        const auto distance = static_cast<std::ptrdiff_t>((test + 1) * kMargin);
        tests.push_back(seam.step(rows, component, distance));
        tests.push_back(seam.step(rows, component, -distance));
    }
    const WeightedMean here = seam.step(rows, component, 0);
    return {here.mean(), here.error() * measure_excess(tests)};
}

/// What the step is where nothing is wrong: the halves of a sensor may differ a little.
SeamStep measure_own_step(const Seam& seam, const std::vector<SeamRow>& known, std::size_t component) {
    constexpr double kUsual = 0.5; // Of steps at seams of intact photographs.
    if (known.size() < kFewSeamRows) {
        return {0, kUsual};
    }
    const SeamStep found = measure_step(seam, known, component);
    const double trust = kUsual * kUsual / (kUsual * kUsual + found.error * found.error);
    return {trust * found.step, std::sqrt(trust) * found.error};
}

} // namespace

StreamSlices::StreamSlices(std::span<const std::uint32_t> widths, std::size_t height,
                           const StreamFrame& frame, std::size_t lag)
    : height_(height) {
    std::size_t begin = 0;
    for (const std::uint32_t width : widths) {
        begins_.push_back(begin);
        widths_.push_back(width);
        begin += width * height;
    }
    if (begin != frame.count() || widths.empty()) {
        widths_ = {std::max<std::size_t>(lag / 2, 1)};
        begins_ = {0};
        height_ = frame.count() / widths_.front();
    }
}

std::pair<std::size_t, std::size_t> StreamSlices::rows_around(std::size_t row,
                                                              const StreamFrame& frame) const {
    for (std::size_t slice = widths_.size(); slice-- > 0;) {
        const std::size_t first = (begins_[slice] + frame.row - 1) / frame.row;
        if (first <= row) {
            return {first, (begins_[slice] + widths_[slice] * height_) / frame.row};
        }
    }
    return {0, frame.rows};
}

std::optional<LevelEstimate> measure_seam(const StreamFrame& frame, const StreamSlices& slices,
                                          std::span<const std::uint16_t> values,
                                          std::span<const RowState> states) {
    const auto rows = find_rows(frame, slices, states, RowState::kRun);
    if (rows.size() < kFewSeamRows) {
        return std::nullopt;
    }
    const auto known = find_rows(frame, slices, states, RowState::kKnown);
    const Seam seam(frame, slices, values);
    LevelEstimate result;
    for (std::size_t component = 0; component < frame.components; ++component) {
        const SeamStep own = measure_own_step(seam, known, component);
        const SeamStep here = measure_step(seam, rows, component);
        result.shift.push_back(own.step - here.step);
        result.error.push_back(std::hypot(own.error, here.error));
    }
    return result;
}

} // namespace raw_mend
