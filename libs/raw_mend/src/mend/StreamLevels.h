#pragma once

#include "mend/StreamFrame.h"

#include <optional>
#include <vector>

namespace raw_mend {

/// How far the values of a run are from their level, by component, as one comparison shows it.
struct LevelEstimate {
    std::vector<double> shift; ///< To be added.
    /// Standard errors: from how much parts of the comparison differ, and not less than what like comparisons
    /// show where the shift is known to be 0.
    std::vector<double> error;
};

/// Differences that are weighted each, and their mean.
class WeightedMean {
  public:
    void add(double difference, double weight) { terms_.push_back({difference, weight}); }
    [[nodiscard]] double mean() const;
    /// Its standard error, by how far the means of parts that follow one another are apart.
    [[nodiscard]] double error() const;

  private:
    struct Term {
        double difference = 0;
        double weight = 0;
    };
    [[nodiscard]] Term sum(std::size_t from, std::size_t to) const;

    std::vector<Term> terms_;
};

/// How many times its own error a comparison is wrong, at least 1, by comparisons where 0 is right.
[[nodiscard]] double measure_excess(std::span<const WeightedMean> tests);

/// Rows of a stream before a gap and after it: from `first` up to `lost`, and from `next` up to `last`.
struct RowGap {
    std::size_t first = 0;
    std::size_t lost = 0;
    std::size_t next = 0;
    std::size_t last = 0;
};

/// How much values on one side of a gap count, the nearest first: all alike, or so that they are continued by
/// a line to the middle of the gap.
[[nodiscard]] std::vector<double> weigh_rows(std::size_t rows, std::size_t gap, bool is_sloped);

/// Values below 0 are kept modulo 65536.
[[nodiscard]] int signed_value(std::uint16_t value);

/// Compares the rows before a gap with the rows after it, column by column, over few rows or many, with or
/// without the slope of each side; columns that change least from row to row, such as masked ones, count
/// most. The comparison with the least error is taken. The period is that of the rows' colours. Nothing if
/// there are too few rows.
[[nodiscard]] std::optional<LevelEstimate> measure_level(const StreamFrame& frame,
                                                         std::span<const std::uint16_t> values,
                                                         std::size_t period, const RowGap& gap);

} // namespace raw_mend
