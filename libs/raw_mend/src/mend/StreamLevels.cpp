#include "mend/StreamLevels.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kMostRows = 256; // Of each side.
constexpr std::size_t kLeastRows = 16;
constexpr std::size_t kMostTests = 12;
constexpr std::size_t kLeastTests = 4;
constexpr std::size_t kManyTests = 8;
constexpr double kCertainError = 0.4;

using Means = std::vector<double>;

class Measurement {
  public:
    Measurement(const StreamFrame& frame, std::span<const std::uint16_t> values, std::size_t rows,
                std::size_t gap)
        : frame_(frame), values_(values), rows_(rows), gap_(gap) {}

    /// The means of the rows after a gap, less those of the rows before it; the gap begins at this row.
    [[nodiscard]] Means compare(std::size_t row) const {
        Means before = means_of(row - rows_);
        const Means after = means_of(row + gap_);
        for (std::size_t column = 0; column < before.size(); ++column) {
            before[column] = after[column] - before[column];
        }
        return before;
    }

    [[nodiscard]] std::size_t span() const { return 2 * rows_ + gap_; }
    [[nodiscard]] std::size_t rows() const { return rows_; }

  private:
    [[nodiscard]] Means means_of(std::size_t row) const {
        std::vector<std::uint64_t> sums(frame_.row);
        for (std::size_t nth = row; nth < row + rows_; ++nth) {
            const auto from = values_.subspan(nth * frame_.row, frame_.row);
            for (std::size_t column = 0; column < frame_.row; ++column) {
                sums[column] += from[column];
            }
        }
        Means means(frame_.row);
        std::ranges::transform(sums, means.begin(), [&](std::uint64_t sum) {
            return static_cast<double>(sum) / static_cast<double>(rows_);
        });
        return means;
    }

    const StreamFrame& frame_;
    std::span<const std::uint16_t> values_;
    std::size_t rows_;
    std::size_t gap_;
};

/// The mean of a component's columns, each by its weight.
double weigh(const Means& differences, const Means& weights, std::size_t component, std::size_t components) {
    double sum = 0;
    double total = 0;
    for (std::size_t column = component; column < differences.size(); column += components) {
        sum += weights[column] * differences[column];
        total += weights[column];
    }
    return sum / total;
}

/// The columns' weights by how much they change in all tests except one.
Means weights_without(const std::vector<Means>& tests, std::size_t left_out) {
    constexpr double kLeastChange = 0.01;
    Means weights(tests.front().size(), kLeastChange);
    for (std::size_t test = 0; test < tests.size(); ++test) {
        for (std::size_t column = 0; test != left_out && column < weights.size(); ++column) {
            weights[column] += tests[test][column] * tests[test][column];
        }
    }
    std::ranges::transform(weights, weights.begin(), [](double change) { return 1 / (change * change); });
    return weights;
}

/// Places in [from, to) for tests, at most so many.
void add_tests(const Measurement& measurement, std::size_t period, std::size_t from, std::size_t to,
               std::size_t most, std::vector<Means>& tests) {
    if (to < from + measurement.span()) {
        return;
    }
    const std::size_t room = to - from - measurement.span();
    const std::size_t step = std::max<std::size_t>(room / most, measurement.rows() / 2);
    for (std::size_t at = 0; at <= room; at += std::max<std::size_t>(step / period * period, period)) {
        tests.push_back(measurement.compare(from + at + measurement.rows()));
    }
}

/// Also measures the greatest error of a component.
LevelShift weigh_all(const StreamFrame& frame, const Means& here, const std::vector<Means>& tests,
                     double& error) {
    const Means weights = weights_without(tests, tests.size());
    LevelShift result;
    for (std::size_t component = 0; component < frame.components; ++component) {
        const double shift = weigh(here, weights, component, frame.components);
        error = std::max(error, std::abs(shift - std::round(shift)));
        for (std::size_t test = 0; test < tests.size(); ++test) {
            error = std::max(error, std::abs(weigh(tests[test], weights_without(tests, test), component,
                                                   frame.components)));
        }
        result.shift.push_back(-static_cast<int>(std::lround(shift)));
    }
    return result;
}

} // namespace

std::optional<LevelShift> measure_level(const StreamFrame& frame, std::span<const std::uint16_t> values,
                                        std::size_t period, std::size_t first, std::size_t lost,
                                        std::size_t next, std::size_t last) {
    if (next <= lost || lost <= first || last <= next) {
        return std::nullopt;
    }
    const std::size_t gap = (next - lost + period - 1) / period * period;
    const std::size_t room = std::min(lost - first, last - std::min(last, lost + gap));
    std::optional<LevelShift> best;
    double least = 0;
    for (std::size_t rows = kLeastRows; rows <= std::min(kMostRows, room); rows *= 2) {
        const Measurement measurement(frame, values, rows, gap);
        std::vector<Means> tests;
        add_tests(measurement, period, first, lost, kMostTests, tests);
        add_tests(measurement, period, next, last, kMostTests, tests);
        if (tests.size() < kLeastTests) {
            break;
        }
        double error = 0;
        auto level = weigh_all(frame, measurement.compare(lost), tests, error);
        if (!best || error < least) {
            level.is_certain = error < kCertainError && tests.size() >= kManyTests;
            best = std::move(level);
            least = error;
        }
    }
    return best;
}

} // namespace raw_mend
