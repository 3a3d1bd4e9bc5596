#include "locate/MaskedColumns.h"

#include "locate/UnitReader.h"

#include <vector>

namespace raw_mend {

namespace {

constexpr unsigned kRowsPerMean = 8; ///< Of the same colours.
constexpr double kMaxRatio = 2.0;    ///< 1 is expected of noise alone.

/// Compares how much means of rows differ with how much the rows do.
class Variation {
  public:
    Variation(const RowGeometry& geometry, std::size_t first_unit, std::size_t units)
        : geometry_(geometry),
          units_((units + geometry.group_units() - 1) / geometry.group_units() * geometry.group_units()),
          offset_(first_unit / geometry.group_units() * geometry.group_bytes()) {}

    void add(Bytes window) {
        const std::uint64_t rows = window.size() / geometry_.row_bytes;
        for (unsigned first = 0; first < geometry_.cfa_period; ++first) {
            before_.clear();
            mean_before_.clear();
            std::uint64_t row = first;
            const std::uint64_t block = std::uint64_t{kRowsPerMean} * geometry_.cfa_period;
            for (; row + block < rows; row += block) { // The last row may reach past the window.
                add_block(window, row);
            }
        }
    }

    [[nodiscard]] bool is_noise() const { return of_means_ <= kMaxRatio * of_rows_; }

  private:
    void add_block(Bytes window, std::uint64_t first_row) {
        std::vector<double> mean(units_);
        for (unsigned i = 0; i < kRowsPerMean; ++i) {
            const std::uint64_t row = first_row + std::uint64_t{i} * geometry_.cfa_period;
            read_units(geometry_,
                       window.subspan(static_cast<std::size_t>(row * geometry_.row_bytes) + offset_), units_,
                       row_);
            for (std::size_t unit = 0; unit < units_; ++unit) {
                mean[unit] += static_cast<double>(row_.first[unit]) / kRowsPerMean;
            }
            of_rows_ += squares(row_.first, before_) / kRowsPerMean;
            before_ = row_.first;
        }
        of_means_ += squares(mean, mean_before_) * kRowsPerMean;
        mean_before_ = mean;
    }

    template <typename Value>
    static double squares(const std::vector<Value>& one, const std::vector<Value>& other) {
        double sum = 0;
        for (std::size_t i = 0; i < other.size(); ++i) {
            const auto difference = static_cast<double>(one[i]) - static_cast<double>(other[i]);
            sum += difference * difference;
        }
        return sum;
    }

    const RowGeometry& geometry_;
    std::size_t units_;
    std::size_t offset_;
    Units row_;
    std::vector<float> before_;
    std::vector<double> mean_before_;
    double of_rows_ = 0;
    double of_means_ = 0;
};

} // namespace

bool is_masked(std::span<const Bytes> windows, const RowGeometry& geometry, std::size_t first_unit,
               std::size_t units) {
    Variation variation(geometry, first_unit, units);
    for (const Bytes window : windows) {
        variation.add(window);
    }
    return variation.is_noise();
}

} // namespace raw_mend
