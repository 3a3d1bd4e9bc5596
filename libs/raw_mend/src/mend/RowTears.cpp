#include "mend/RowTears.h"

#include "mend/RowReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace raw_mend {

namespace {

/// Rows that differ more than that from those above them than others do, in standard deviations, are torn.
constexpr double kTornDeviations = 4;
/// Rows that show what is usual. The first ones tell nothing: masked rows end as if they were torn.
constexpr std::uint64_t kRowsAround = 8;
constexpr double kNotMeasured = std::numeric_limits<double>::infinity();

/// The tears in the rows of an image. Of packed samples, rows look torn unless groups of samples begin where
/// they are read, so that some starts are tried, and each row is read where it differs least.
class TearSearch {
  public:
    /// The first start is that of the front.
    TearSearch(Bytes file, const RowGeometry& geometry, std::span<const std::int64_t> starts)
        : file_(file), geometry_(geometry), front_(starts.front()),
          span_(geometry.row_bytes * (starts.size() > 1 ? 2 : 1)) {
        for (const std::int64_t start : starts) {
            measure(start);
        }
    }

    [[nodiscard]] std::vector<RowTear> find() const {
        std::vector<RowTear> tears;
        for (std::size_t nth = kRowsAround; nth + kRowsAround < differences_.size(); ++nth) {
            if (const double excess = excess_of(nth); excess >= kTornDeviations) {
                const std::uint64_t before = offset_of(nth);
                add({before, before + span_, excess}, tears);
            }
        }
        return tears;
    }

  private:
    /// All that one loss tears is one.
    void add(const RowTear& tear, std::vector<RowTear>& tears) const {
        const std::uint64_t period = geometry_.cfa_period * geometry_.row_bytes;
        if (tears.empty() || tear.before >= tears.back().after + 2 * period) {
            tears.push_back(tear);
            return;
        }
        // The last rows that differ are compared with the first ones after the place.
        RowTear& last = tears.back();
        last.after = std::max(last.after, tear.after - std::min(period, tear.after));
        last.excess = std::max(last.excess, tear.excess);
    }

    void measure(std::int64_t start) {
        const std::uint64_t period = geometry_.cfa_period;
        RowReader reader(file_, geometry_, start);
        std::array<std::vector<float>, 3> rows; // The last ones: the period is 1 or 2.
        width_ = reader.width();
        for (std::uint64_t row = 0; row < geometry_.rows; ++row) {
            if (!reader.has(row)) {
                continue;
            }
            reader.read(row, rows[row % rows.size()]);
            const std::int64_t begin = start + static_cast<std::int64_t>(row * geometry_.row_bytes) - front_;
            const auto nth =
                begin / static_cast<std::int64_t>(geometry_.row_bytes) - static_cast<std::int64_t>(period);
            if (nth >= 0 && row >= period && reader.has(row - period)) {
                note(static_cast<std::size_t>(nth),
                     difference_of_rows(rows[row % rows.size()], rows[(row - period) % rows.size()]));
            }
        }
    }

    void note(std::size_t nth, double difference) {
        if (nth >= differences_.size()) {
            differences_.resize(nth + 1, kNotMeasured);
        }
        differences_[nth] = std::min(differences_[nth], difference);
    }

    [[nodiscard]] std::uint64_t offset_of(std::size_t nth) const {
        const std::uint64_t row = geometry_.cfa_period + nth;
        return static_cast<std::uint64_t>(front_ + static_cast<std::int64_t>(row * geometry_.row_bytes));
    }

    [[nodiscard]] double excess_of(std::size_t nth) const {
        const auto first = differences_.begin() + static_cast<std::ptrdiff_t>(nth - kRowsAround);
        std::vector<double> around(first, first + 2 * kRowsAround + 1);
        const auto middle = around.begin() + kRowsAround;
        std::ranges::nth_element(around, middle);
        const bool is_known = differences_[nth] != kNotMeasured && *middle != kNotMeasured;
        return is_known ? (differences_[nth] - *middle) / deviation_of_rows(*middle, width_) : 0;
    }

    Bytes file_;
    const RowGeometry& geometry_;
    std::int64_t front_;
    std::uint64_t span_; // Of the bytes at which the rows at one place begin and end.
    std::size_t width_ = 0;
    std::vector<double> differences_; // Of rows from those above them, from the first that has one on.
};

} // namespace

double difference_of_rows(const std::vector<float>& one, const std::vector<float>& other) {
    double sum = 0;
    for (std::size_t i = 0; i < one.size(); ++i) {
        sum += std::abs(one[i] - other[i]);
    }
    return sum;
}

double deviation_of_rows(double sum, std::size_t samples) {
    constexpr double kLeastMean = 0.25;
    constexpr double kCorrelation = 2; // Neighbours do not differ independently.
    const double mean = std::max(sum / static_cast<double>(samples), kLeastMean);
    return kCorrelation * mean * std::sqrt(static_cast<double>(samples));
}

std::vector<RowTear> find_row_tears(Bytes file, const RowGeometry& geometry,
                                    std::span<const std::int64_t> starts) {
    return TearSearch(file, geometry, starts).find();
}

} // namespace raw_mend
