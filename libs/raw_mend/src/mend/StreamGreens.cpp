#include "mend/StreamGreens.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace raw_mend {

namespace {

constexpr std::size_t kBins = 24;      // Of brightness.
constexpr std::size_t kGreenParts = 8; // Of the rows of each kind, one after another.
constexpr std::size_t kFewGreenRows = 24;

struct GreenSum {
    double sum = 0;
    double weight = 0;

    void add(const GreenSum& other) {
        sum += other.sum;
        weight += other.weight;
    }
};

using GreenBins = std::array<GreenSum, kBins>;

/// Differences between greens of like brightness in two parts of a picture.
double compare_bins(const GreenBins& one, const GreenBins& other) {
    double sum = 0;
    double total = 0;
    for (std::size_t bin = 0; bin < kBins; ++bin) {
        if (one[bin].weight > 0 && other[bin].weight > 0) {
            const double weight = 1 / (1 / one[bin].weight + 1 / other[bin].weight);
            sum += weight * (other[bin].sum / other[bin].weight - one[bin].sum / one[bin].weight);
            total += weight;
        }
    }
    return total > 0 ? sum / total : 0;
}

GreenBins add_all(const std::vector<GreenBins>& parts, std::size_t left_out) {
    GreenBins all{};
    for (std::size_t part = 0; part < parts.size(); ++part) {
        for (std::size_t bin = 0; part != left_out && bin < kBins; ++bin) {
            all[bin].add(parts[part][bin]);
        }
    }
    return all;
}

/// How much parts of one kind differ from the others of their kind.
double error_of(const std::vector<GreenBins>& parts) {
    double squares = 0;
    for (std::size_t part = 0; part < parts.size(); ++part) {
        const double apart = compare_bins(parts[part], add_all(parts, part));
        squares += apart * apart;
    }
    return squares / static_cast<double>(parts.size() * parts.size());
}

/// A row of the picture.
struct GreenRow {
    std::size_t slice = 0;
    std::size_t row = 0;
};

class Greens {
  public:
    Greens(const StreamFrame& frame, const StreamSlices& slices, std::span<const std::uint16_t> values,
           std::span<const RowState> states)
        : frame_(frame), slices_(slices), values_(values), states_(states) {}

    std::optional<GreenBalance> measure() {
        const auto known = rows_of(RowState::kKnown);
        const auto run = rows_of(RowState::kRun);
        if (known.size() < kFewGreenRows || run.size() < kFewGreenRows) {
            return std::nullopt;
        }
        parity_ = apart(known, 0) < apart(known, 1) ? 0 : 1;
        const auto known_parts = parts_of(known);
        const auto run_parts = parts_of(run);
        GreenBalance balance;
        balance.difference = compare_bins(add_all(run_parts, kGreenParts), add_all(known_parts, kGreenParts));
        balance.error = std::sqrt(error_of(known_parts) + error_of(run_parts));
        return balance;
    }

  private:
    /// Rows that are known, or of the run, as the two beside them are.
    [[nodiscard]] std::vector<GreenRow> rows_of(RowState wanted) const {
        std::vector<GreenRow> rows;
        for (std::size_t slice = 0; slice < slices_.count(); ++slice) {
            const std::size_t width = slices_.width(slice);
            for (std::size_t row = 1; row + 1 < slices_.height() && width % 2 == 0 && width > 4; ++row) {
                const std::size_t first = slices_.at(slice, 0, row - 1) / frame_.row;
                const std::size_t last = slices_.at(slice, width - 1, row + 1) / frame_.row;
                if (states_[first] == wanted && states_[last] == wanted &&
                    states_[(first + last) / 2] == wanted) {
                    rows.push_back({slice, row});
                }
            }
        }
        return rows;
    }

    /// The first component's value at a column, and the mean of the four of the second one around it.
    struct Cross {
        double middle = 0;
        double around = 0;
        double spread = 0;
    };
    [[nodiscard]] Cross cross_at(const GreenRow& place, std::size_t column) const {
        const auto value = [&](std::size_t x, std::size_t y) {
            return static_cast<double>(signed_value(values_[slices_.at(place.slice, x, y)]));
        };
        const std::array<double, 4> corners{
            value(column - 1, place.row - 1), value(column + 1, place.row - 1),
            value(column - 1, place.row + 1), value(column + 1, place.row + 1)};
        Cross cross{value(column, place.row), 0, 0};
        for (const double corner : corners) {
            cross.around += corner / 4;
        }
        for (const double corner : corners) {
            cross.spread += (corner - cross.around) * (corner - cross.around);
        }
        return cross;
    }

    /// How far the values are apart if the first component's greens are in rows of this parity.
    [[nodiscard]] double apart(const std::vector<GreenRow>& rows, std::size_t parity) const {
        constexpr std::size_t kStep = 16;
        double sum = 0;
        std::size_t count = 0;
        for (std::size_t nth = 0; nth < rows.size(); nth += 3) {
            if (rows[nth].row % 2 != parity) {
                continue;
            }
            for (std::size_t column = 2; column + 1 < slices_.width(rows[nth].slice); column += kStep) {
                const Cross cross = cross_at(rows[nth], column);
                sum += std::abs(cross.around - cross.middle);
                ++count;
            }
        }
        return sum / static_cast<double>(std::max<std::size_t>(count, 1));
    }

    [[nodiscard]] std::vector<GreenBins> parts_of(const std::vector<GreenRow>& rows) const {
        constexpr double kNoise = 16;
        constexpr double kByBrightness = 0.0001; // What the two differ by grows with it.
        std::vector<GreenBins> parts(kGreenParts);
        const double brightest = frame_.limit;
        for (std::size_t nth = 0; nth < rows.size(); ++nth) {
            if (rows[nth].row % 2 != parity_) {
                continue;
            }
            GreenBins& bins = parts[nth * kGreenParts / rows.size()];
            for (std::size_t column = 2; column + 1 < slices_.width(rows[nth].slice); column += 2) {
                const Cross cross = cross_at(rows[nth], column);
                const double level = std::sqrt(std::max(cross.around, 0.0) / brightest);
                const double weight =
                    1 / (kNoise + cross.spread + kByBrightness * cross.around * cross.around);
                bins[std::min(static_cast<std::size_t>(level * kBins), kBins - 1)].add(
                    {weight * (cross.around - cross.middle), weight});
            }
        }
        return parts;
    }

    const StreamFrame& frame_;
    const StreamSlices& slices_;
    std::span<const std::uint16_t> values_;
    std::span<const RowState> states_;
    std::size_t parity_ = 0;
};

} // namespace

std::optional<GreenBalance> measure_greens(const StreamFrame& frame, const StreamSlices& slices,
                                           std::span<const std::uint16_t> values,
                                           std::span<const RowState> states) {
    const bool is_even = frame.components == 2 && frame.row % 2 == 0;
    return is_even ? Greens(frame, slices, values, states).measure() : std::nullopt;
}

} // namespace raw_mend
