#include "locate/Alignment.h"

#include "locate/UnitReader.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMaxPairs = 16; ///< Of rows that are compared.
constexpr std::size_t kMinPairs = 3;
constexpr std::size_t kMaxUnits = 2048;     ///< Of a row that are compared.
constexpr double kMinAlignmentDistance = 5; ///< Standard deviations from the best to the second best.
constexpr double kMinAdvantage = 0.2;       ///< The least difference of their logarithms.
constexpr double kAsGood = 1.5;             ///< Relative misfits that are no reason to prefer one place.
constexpr double kMinRelative = 0.05;
constexpr double kMaxRowMisfit = 0.16; ///< Of the range of samples; random numbers have a third.

/// The rows of a window, read at one alignment.
class Reading {
  public:
    Reading(Bytes window, const RowGeometry& geometry, unsigned alignment)
        : window_(window), geometry_(geometry), alignment_(alignment) {
        const std::size_t per_group = geometry.group_units();
        units_ = static_cast<std::size_t>(geometry.row_units()) - per_group;
        units_ = std::min(units_, kMaxUnits / per_group * per_group);
    }

    /// Compares rows with those a period below, so many rows from one to the next.
    void compare(std::uint64_t pairs, std::uint64_t step) {
        for (std::uint64_t row = 0; row < pairs; row += step) {
            compare(row);
        }
    }

    /// For each pair of rows, their mean difference, of the range of samples.
    [[nodiscard]] const std::vector<double>& misfits() const { return misfits_; }

    [[nodiscard]] double misfit() const {
        return std::accumulate(misfits_.begin(), misfits_.end(), 0.0) / static_cast<double>(misfits_.size());
    }

    /// The mean difference of samples at the same place, of that of samples at different places.
    [[nodiscard]] double relative_misfit() const { return base_ > 0 ? sum_ / base_ : 1; }

    /// The lowest bits that are the same in all samples; nothing if all are equal.
    [[nodiscard]] std::optional<unsigned> idle_low_bits() const {
        return changing_ != 0 ? std::optional(static_cast<unsigned>(std::countr_zero(changing_)))
                              : std::nullopt;
    }

  private:
    void compare(std::uint64_t row) {
        read(row, upper_);
        read(row + geometry_.cfa_period, lower_);
        const std::size_t other = units_ / 3 / geometry_.step() * geometry_.step();
        const auto first = static_cast<std::uint32_t>(upper_.first[0]);
        double sum = 0;
        double base = 0;
        for (std::size_t i = 0; i < units_; ++i) {
            sum += std::abs(upper_.first[i] - lower_.first[i]);
            base += std::abs(upper_.first[i] - lower_.first[i < other ? i + units_ - other : i - other]);
            changing_ |= static_cast<std::uint32_t>(upper_.first[i]) ^ first;
        }
        sum_ += sum;
        base_ += base;
        misfits_.push_back(sum / static_cast<double>(units_) / std::exp2(geometry_.bits));
    }

    void read(std::uint64_t row, Units& units) const {
        const auto from = static_cast<std::size_t>(row * geometry_.row_bytes + alignment_);
        read_units(geometry_, window_.subspan(from), units_, units);
    }

    Bytes window_;
    const RowGeometry& geometry_;
    unsigned alignment_;
    std::size_t units_ = 0;
    Units upper_;
    Units lower_;
    std::vector<double> misfits_;
    double sum_ = 0;
    double base_ = 0;
    std::uint32_t changing_ = 0; ///< The bits that are not the same in all samples.
};

/// Whether the misfits of one alignment are above those of the best in nearly all pairs of rows.
bool clearly_worse(const std::vector<double>& misfits, const std::vector<double>& best) {
    double sum = 0;
    double squares = 0;
    const auto count = static_cast<double>(best.size());
    for (std::size_t i = 0; i < best.size(); ++i) {
        const double advantage = std::log((misfits[i] + 1e-9) / (best[i] + 1e-9));
        sum += advantage;
        squares += advantage * advantage;
    }
    const double deviation = std::sqrt(std::max(squares - sum * sum / count, 0.0) + 1e-3 * count);
    return sum / count > kMinAdvantage && sum / deviation > kMinAlignmentDistance;
}

/// Whether samples read at another place may as well be the picture, with other bits the same in all.
bool may_be_shifted(const Reading& other, const Reading& best) {
    return other.idle_low_bits().value_or(0) > 0 &&
           other.relative_misfit() < kAsGood * std::max(best.relative_misfit(), kMinRelative);
}

std::vector<Reading> read_all(Bytes window, const RowGeometry& geometry, std::uint64_t pairs) {
    std::vector<Reading> readings;
    for (unsigned alignment = 0; alignment < geometry.group_bytes(); ++alignment) {
        readings.emplace_back(window, geometry, alignment);
        readings.back().compare(pairs, (pairs + kMaxPairs - 1) / kMaxPairs);
    }
    return readings;
}

} // namespace

std::optional<unsigned> find_alignment(Bytes window, const RowGeometry& geometry,
                                       std::optional<unsigned> idle_low_bits) {
    const std::uint64_t rows = window.size() / geometry.row_bytes;
    const std::uint64_t pairs = rows > geometry.cfa_period ? rows - geometry.cfa_period : 0;
    if (pairs < kMinPairs) {
        return std::nullopt;
    }
    const std::vector<Reading> readings = read_all(window, geometry, pairs);
    const bool cells = geometry.packing == Packing::kCells;
    const auto is_possible = [&](const Reading& reading) {
        return cells || !idle_low_bits || reading.idle_low_bits() == idle_low_bits;
    };
    auto best = readings.end();
    for (auto reading = readings.begin(); reading != readings.end(); ++reading) {
        if (is_possible(*reading) && (best == readings.end() || reading->misfit() < best->misfit())) {
            best = reading;
        }
    }
    if (best == readings.end() || best->misfit() > kMaxRowMisfit) {
        return std::nullopt;
    }
    for (auto other = readings.begin(); other != readings.end(); ++other) {
        const bool rival = is_possible(*other) && !clearly_worse(other->misfits(), best->misfits());
        const bool shifted = !cells && !idle_low_bits && may_be_shifted(*other, *best);
        if (other != best && (rival || shifted)) {
            return std::nullopt;
        }
    }
    return static_cast<unsigned>(best - readings.begin());
}

std::optional<unsigned> count_idle_low_bits(std::span<const Bytes> windows, const RowGeometry& geometry) {
    std::optional<unsigned> least;
    for (const Bytes window : windows) {
        const std::uint64_t rows = window.size() / geometry.row_bytes;
        if (geometry.packing == Packing::kCells || rows <= geometry.cfa_period) {
            continue;
        }
        Reading reading(window, geometry, 0);
        reading.compare(rows - geometry.cfa_period, 1);
        const auto idle = reading.idle_low_bits();
        least = idle && (!least || *idle < *least) ? idle : least;
    }
    return least;
}

} // namespace raw_mend
