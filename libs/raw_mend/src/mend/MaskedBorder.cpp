#include "mend/MaskedBorder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace raw_mend {

namespace {

constexpr std::size_t kGroup = MaskedBorder::kGroup;
constexpr std::size_t kBands = 16; // Of rows, whose means are compared.
constexpr std::size_t kFewBorderRows = 4 * kBands;
constexpr std::size_t kFewKnownRows = 8;
constexpr std::size_t kColours = 2; // Rows to the next one with the same colours, at most.

// The means of bands of masked columns differ by noise, and drift by less than a level. In the 30D's pictures
// they differ by 0.7 at most; columns with a picture, by 20 or more.
constexpr double kNoise = 6; // Standard errors.
constexpr double kDrift = 1;

// Standard errors of a border's level, in levels. Down the 30D's pictures, bands of 236 rows drift by up to
// 0.15 from their mean; from one of its photographs to another, at ISO 100 and 640, the levels of the two
// components differ by 0.25 and 0.16.
constexpr double kBorderDrift = 0.1;
constexpr double kOtherPhotograph = 0.35;

/// Rows of the first slice, from one to its last.
class BorderColumns {
  public:
    BorderColumns(const StreamSlices& slices, std::span<const std::uint16_t> values, std::size_t first_row)
        : slices_(slices), values_(values), first_(first_row) {}

    [[nodiscard]] std::size_t rows() const { return slices_.height() - first_; }

    /// Whether the columns of a group keep their level from band to band.
    [[nodiscard]] bool are_masked(std::size_t column) const {
        const std::size_t band = rows() / kBands;
        double least = 1e9;
        double most = -1e9;
        double roughness = 0;
        for (std::size_t nth = 0; nth < kBands; ++nth) {
            double sum = 0;
            for (std::size_t row = nth * band; row < (nth + 1) * band; ++row) {
                for (std::size_t at = column; at < column + kGroup; ++at) {
                    sum += value(at, row);
                    roughness += std::abs(value(at, row) - value(at, std::max(row, kColours) - kColours));
                }
            }
            const double mean = sum / static_cast<double>(band * kGroup);
            least = std::min(least, mean);
            most = std::max(most, mean);
        }
        const auto count = static_cast<double>(band * kGroup);
        const double error = roughness / (count * kBands) / std::sqrt(count);
        return most - least <= kNoise * error + kDrift;
    }

    [[nodiscard]] std::vector<double> levels(const StreamFrame& frame, std::size_t columns) const {
        std::vector<double> sums(frame.components);
        std::vector<double> counts(frame.components);
        for (std::size_t row = 0; row < rows(); ++row) {
            for (std::size_t column = 0; column < columns; ++column) {
                const std::size_t component =
                    slices_.at(0, column, first_ + row) % frame.row % frame.components;
                sums[component] += value(column, row);
                ++counts[component];
            }
        }
        for (std::size_t component = 0; component < sums.size(); ++component) {
            sums[component] /= std::max(counts[component], 1.0);
        }
        return sums;
    }

  private:
    [[nodiscard]] double value(std::size_t column, std::size_t row) const {
        return signed_value(values_[slices_.at(0, column, first_ + row)]);
    }

    const StreamSlices& slices_;
    std::span<const std::uint16_t> values_;
    std::size_t first_;
};

/// The border of rows that are known and of those of a run, a component's columns of each row as one.
struct BorderMeans {
    WeightedMean known;
    WeightedMean run;
    std::size_t known_rows = 0;
    std::size_t run_rows = 0;
};

BorderMeans mean_of_rows(const StreamFrame& frame, const StreamSlices& slices,
                         std::span<const std::uint16_t> values, std::span<const RowState> states,
                         std::size_t columns, std::size_t component) {
    BorderMeans means;
    for (std::size_t row = 0; row < slices.height(); ++row) {
        const RowState state = states[slices.at(0, 0, row) / frame.row];
        if (state == RowState::kLost || states[slices.at(0, columns - 1, row) / frame.row] != state) {
            continue;
        }
        double sum = 0;
        double count = 0;
        for (std::size_t column = 0; column < columns; ++column) {
            const std::size_t at = slices.at(0, column, row);
            if (at % frame.row % frame.components == component) {
                sum += signed_value(values[at]);
                ++count;
            }
        }
        if (count == 0) {
            continue;
        }
        (state == RowState::kRun ? means.run : means.known).add(sum / count, 1);
        ++(state == RowState::kRun ? means.run_rows : means.known_rows);
    }
    return means;
}

} // namespace

MaskedBorder find_masked_border(const StreamFrame& frame, const StreamSlices& slices,
                                std::span<const std::uint16_t> values) {
    const BorderColumns columns(slices, values, 0);
    const std::size_t groups = slices.width(0) / kGroup;
    if (slices.height() < kFewBorderRows || groups == 0) {
        return {};
    }
    std::size_t masked = 0;
    std::size_t border = 0; // Groups at the left that are all masked.
    for (std::size_t group = 0; group < groups; ++group) {
        if (columns.are_masked(group * kGroup)) {
            border += border == group ? 1U : 0U;
            ++masked;
        }
    }
    if (border == 0 || 2 * masked > groups) {
        return {};
    }
    return {border * kGroup, columns.levels(frame, border * kGroup)};
}

bool has_masked_border(const StreamSlices& slices, std::span<const std::uint16_t> values,
                       const MaskedBorder& border, std::size_t from) {
    const std::size_t first = std::min((from + slices.width(0) - 1) / slices.width(0), slices.height());
    if (slices.height() - first < kFewBorderRows) {
        return false;
    }
    const BorderColumns rows(slices, values, first);
    for (std::size_t column = 0; column < border.columns; column += kGroup) {
        if (!rows.are_masked(column)) {
            return false;
        }
    }
    return true;
}

std::vector<LevelEstimate> measure_border(const StreamFrame& frame, const StreamSlices& slices,
                                          std::span<const std::uint16_t> values,
                                          std::span<const RowState> states, const MaskedBorder& border) {
    LevelEstimate own;
    LevelEstimate other;
    bool has_own = true;
    bool needs_other = false;
    for (std::size_t component = 0; component < frame.components && border.columns != 0; ++component) {
        const BorderMeans means = mean_of_rows(frame, slices, values, states, border.columns, component);
        if (means.run_rows < kFewBorderRows) {
            return {};
        }
        const double error = means.run.error();
        own.shift.push_back(means.known.mean() - means.run.mean());
        own.error.push_back(std::hypot(error, means.known.error(), kBorderDrift));
        other.shift.push_back(border.levels[component] - means.run.mean());
        other.error.push_back(std::hypot(error, kOtherPhotograph));
        has_own = has_own && means.known_rows >= kFewKnownRows;
        needs_other = needs_other || means.known_rows < kFewBorderRows;
    }
    std::vector<LevelEstimate> estimates;
    if (has_own && !own.shift.empty()) {
        estimates.push_back(std::move(own));
    }
    if (needs_other) {
        estimates.push_back(std::move(other));
    }
    return estimates;
}

} // namespace raw_mend
