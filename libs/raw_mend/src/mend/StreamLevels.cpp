#include "mend/StreamLevels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kMostRows = 256; // Of each side.
constexpr std::size_t kMostSloped = 16;
constexpr std::size_t kMostTests = 12; // Of each side.
constexpr std::size_t kLeastTests = 6;
constexpr std::size_t kParts = 24;
constexpr std::size_t kNearColumns = 8; // To both sides, of one component.
constexpr int kNegative = 61440;        // Values from here on are less than 0.

using Columns = std::vector<double>;

/// Sums over columns of the same component that are near each other in a row.
Columns smooth(const Columns& columns, const StreamFrame& frame) {
    Columns smoothed(columns.size());
    const std::size_t near = kNearColumns * frame.components;
    for (std::size_t row = 0; row < columns.size(); row += frame.row) {
        for (std::size_t component = 0; component < frame.components; ++component) {
            double sum = 0;
            const auto get = [&](std::size_t column) { return columns[row + column]; };
            for (std::size_t at = component; at < std::min(near, frame.row); at += frame.components) {
                sum += get(at);
            }
            for (std::size_t at = component; at < frame.row; at += frame.components) {
                sum += at + near < frame.row ? get(at + near) : 0;
                smoothed[row + at] = sum;
                sum -= at >= near ? get(at - near) : 0;
            }
        }
    }
    return smoothed;
}

/// Rows that were compared, column by column.
struct Compared {
    Columns difference;
    Columns variance; ///< By how much the rows of each side differ there.

    /// The mean of a component's columns, each by its variance.
    [[nodiscard]] WeightedMean mean(const StreamFrame& frame, std::size_t component,
                                    const Columns& variances) const {
        WeightedMean all;
        for (std::size_t row = 0; row < difference.size(); row += frame.row) {
            for (std::size_t at = row + component; at < row + frame.row; at += frame.components) {
                all.add(difference[at], 1 / variances[at]);
            }
        }
        return all;
    }
};

/// Compares rows of all colours on both sides of a gap. Rows are counted in periods.
class Comparison {
  public:
    Comparison(const StreamFrame& frame, std::span<const std::uint16_t> values, std::size_t length,
               std::size_t rows, std::size_t gap, bool is_sloped)
        : frame_(frame), values_(values), length_(length), rows_(std::max<std::size_t>(rows, 2)), gap_(gap),
          is_sloped_(is_sloped), weights_(weigh_rows(rows, gap, is_sloped)) {}

    /// The rows after a gap less those before it; the gap begins at this row.
    [[nodiscard]] Compared at(std::size_t row) const {
        Compared compared{Columns(length_), Columns(length_, 1.0)};
        for (const bool is_after : {false, true}) {
            add_side(row, is_after, compared.difference, compared.variance);
        }
        compared.variance = smooth(compared.variance, frame_);
        return compared;
    }

    /// Rows of each side.
    [[nodiscard]] std::size_t rows() const { return rows_; }
    [[nodiscard]] std::size_t span() const { return 2 * rows_ + gap_; }

  private:
    void add_side(std::size_t row, bool is_after, Columns& difference, Columns& variance) const {
        const auto row_at = [&](std::size_t nth) {
            return values_.subspan((is_after ? row + gap_ + nth : row - 1 - nth) * length_, length_);
        };
        const double sign = is_after ? 1 : -1;
        const auto rows = static_cast<double>(weights_.size());
        Columns drift(length_);
        for (std::size_t nth = 0; nth < rows_; ++nth) {
            const auto here = row_at(nth);
            const auto next = row_at(std::min(nth + 1, rows_ - 1));
            const double weight = nth < weights_.size() ? sign * weights_[nth] : 0;
            const double half = nth < rows_ / 2 ? 1 : -1;
            for (std::size_t column = 0; column < length_; ++column) {
                const int value = signed_value(here[column]);
                const int step = value - signed_value(next[column]);
                difference[column] += weight * value;
                variance[column] += (is_sloped_ ? 4 : 1) * static_cast<double>(step) * step / (rows * rows);
                drift[column] += half * value;
            }
        }
        for (std::size_t column = 0; column < length_ && !is_sloped_; ++column) {
            variance[column] += 4 * drift[column] * drift[column] / static_cast<double>(rows_ * rows_);
        }
    }

    const StreamFrame& frame_;
    std::span<const std::uint16_t> values_;
    std::size_t length_;
    std::size_t rows_;
    std::size_t gap_;
    bool is_sloped_;
    std::vector<double> weights_;
};

/// Comparisons between rows in [from, to) that survive.
void add_tests(const Comparison& comparison, std::size_t from, std::size_t to, std::vector<Compared>& tests) {
    if (to < from + comparison.span()) {
        return;
    }
    const std::size_t room = to - from - comparison.span();
    const std::size_t step = std::max({room / kMostTests, comparison.rows() / 2, std::size_t{1}});
    for (std::size_t row = 0; row <= room; row += step) {
        tests.push_back(comparison.at(from + row + comparison.rows()));
    }
}

/// Each column counts by how much its rows differ near the gap.
LevelEstimate weigh_by_rows(const StreamFrame& frame, const Compared& here,
                            const std::vector<Compared>& tests) {
    LevelEstimate result;
    for (std::size_t component = 0; component < frame.components; ++component) {
        std::vector<WeightedMean> means;
        means.reserve(tests.size());
        for (const Compared& test : tests) {
            means.push_back(test.mean(frame, component, test.variance));
        }
        const WeightedMean mean = here.mean(frame, component, here.variance);
        result.shift.push_back(-mean.mean());
        result.error.push_back(mean.error() * measure_excess(means));
    }
    return result;
}

/// The mean of the squares of all tests except one.
Columns mean_squares(const StreamFrame& frame, const std::vector<Compared>& tests, std::size_t left_out) {
    Columns squares(tests.front().difference.size(), 0.01);
    for (std::size_t test = 0; test < tests.size(); ++test) {
        for (std::size_t column = 0; test != left_out && column < squares.size(); ++column) {
            squares[column] += tests[test].difference[column] * tests[test].difference[column];
        }
    }
    return smooth(squares, frame);
}

/// Each column counts by how wrong it is in the tests.
LevelEstimate weigh_by_tests(const StreamFrame& frame, const Compared& here,
                             const std::vector<Compared>& tests) {
    LevelEstimate result;
    std::vector<double> sums(frame.components);
    for (std::size_t test = 0; test < tests.size(); ++test) {
        const Columns squares = mean_squares(frame, tests, test);
        for (std::size_t component = 0; component < frame.components; ++component) {
            const double error = tests[test].mean(frame, component, squares).mean();
            sums[component] += error * error;
        }
    }
    const Columns squares = mean_squares(frame, tests, tests.size());
    for (std::size_t component = 0; component < frame.components; ++component) {
        const WeightedMean mean = here.mean(frame, component, squares);
        result.shift.push_back(-mean.mean());
        result.error.push_back(
            std::max(mean.error(), std::sqrt(sums[component] / static_cast<double>(tests.size()))));
    }
    return result;
}

} // namespace

WeightedMean::Term WeightedMean::sum(std::size_t from, std::size_t to) const {
    Term all;
    for (std::size_t at = from; at < to; ++at) {
        all.difference += terms_[at].weight * terms_[at].difference;
        all.weight += terms_[at].weight;
    }
    return all;
}

double WeightedMean::mean() const {
    const Term all = sum(0, terms_.size());
    return all.weight > 0 ? all.difference / all.weight : 0;
}

double WeightedMean::error() const {
    const double middle = mean();
    const double weight = sum(0, terms_.size()).weight;
    double squares = 0;
    for (std::size_t part = 0; part < kParts; ++part) {
        const Term one = sum(terms_.size() * part / kParts, terms_.size() * (part + 1) / kParts);
        const double apart = one.difference - one.weight * middle;
        squares += apart * apart;
    }
    return weight > 0 ? std::sqrt(squares * kParts / (kParts - 1)) / weight : 1e6;
}

double measure_excess(std::span<const WeightedMean> tests) {
    constexpr double kLeastError = 0.01;
    double squares = 0;
    for (const WeightedMean& test : tests) {
        const double times = test.mean() / (test.error() + kLeastError);
        squares += times * times;
    }
    return tests.empty() ? 1 : std::max(1.0, std::sqrt(squares / static_cast<double>(tests.size())));
}

std::vector<double> weigh_rows(std::size_t rows, std::size_t gap, bool is_sloped) {
    const auto count = static_cast<double>(rows);
    std::vector<double> weights(rows, 1 / count);
    const double middle = (count - 1) / 2;
    const double distance = middle + (static_cast<double>(gap) + 1) / 2;
    double spread = 0;
    for (std::size_t row = 0; row < rows; ++row) {
        spread += (static_cast<double>(row) - middle) * (static_cast<double>(row) - middle);
    }
    for (std::size_t row = 0; row < rows && is_sloped; ++row) {
        weights[row] -= distance * (static_cast<double>(row) - middle) / spread;
    }
    return weights;
}

int signed_value(std::uint16_t value) {
    return value < kNegative ? value : static_cast<std::int16_t>(value);
}

std::optional<LevelEstimate> measure_level(const StreamFrame& frame, std::span<const std::uint16_t> values,
                                           std::size_t period, const RowGap& gap) {
    const RowGap periods{(gap.first + period - 1) / period, gap.lost / period,
                         (gap.next + period - 1) / period, gap.last / period};
    if (periods.next < periods.lost || periods.lost <= periods.first || periods.last <= periods.next) {
        return std::nullopt;
    }
    const std::size_t lost = periods.next - periods.lost;
    const std::size_t room = std::min(periods.lost - periods.first, periods.last - periods.next);
    std::optional<LevelEstimate> best;
    double least = 0;
    const auto offer = [&](LevelEstimate found) {
        const double error = *std::ranges::max_element(found.error);
        if (!best || error < least) {
            best = std::move(found);
            least = error;
        }
    };
    const auto try_rows = [&](std::size_t rows, bool is_sloped) {
        const Comparison comparison(frame, values, period * frame.row, rows, lost, is_sloped);
        std::vector<Compared> tests;
        add_tests(comparison, periods.first, periods.lost, tests);
        add_tests(comparison, periods.next, periods.last, tests);
        if (tests.size() >= kLeastTests) {
            const Compared here = comparison.at(periods.lost);
            offer(weigh_by_rows(frame, here, tests));
            offer(weigh_by_tests(frame, here, tests));
        }
    };
    for (std::size_t rows = 1; rows <= std::min(kMostRows, room) && room > 1; rows *= 2) {
        try_rows(rows, false);
        if (rows > 1 && rows <= kMostSloped) {
            try_rows(rows, true);
        }
    }
    return best;
}

} // namespace raw_mend
