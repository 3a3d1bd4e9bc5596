#include "locate/RowRuns.h"

#include <algorithm>
#include <vector>

namespace raw_mend {

namespace {

constexpr double kFactor = 2;      ///< A row may differ so many times as much as most rows do.
constexpr double kMaxOfBase = 0.6; ///< Or so much of what it would if it did not fit.
constexpr double kSharpFactor = 1.3;

class Runs {
  public:
    Runs(RowFit& fit, std::uint64_t period, WholeRows whole) : fit_(fit), period_(period), whole_(whole) {
        for (std::uint64_t row = 0; row + period < fit.rows(); ++row) {
            misfits_.push_back(fit.misfit(row));
        }
    }

    std::vector<RowRun> find(std::uint64_t known_first, std::uint64_t known_last) {
        limit_ = kFactor * ninth_tenth(known_first, known_last);
        std::vector<RowRun> runs;
        std::uint64_t row = 0;
        while (row < misfits_.size()) {
            if (!fits(row)) {
                ++row;
                continue;
            }
            const std::uint64_t first = row;
            while (row < misfits_.size() && fits(row)) {
                ++row;
            }
            runs.push_back({first, row + period_, is_sharp_before(first), is_sharp_after(row + period_)});
        }
        return runs;
    }

  private:
    /// The difference that nine in ten of the known rows do not exceed.
    [[nodiscard]] double ninth_tenth(std::uint64_t first, std::uint64_t last) const {
        std::vector<double> known;
        for (std::uint64_t row = first; row < std::min<std::uint64_t>(last, misfits_.size()); ++row) {
            known.push_back(misfits_[row].mean);
        }
        if (known.empty()) {
            return 0;
        }
        const auto place = known.begin() + static_cast<std::ptrdiff_t>((known.size() - 1) * 9 / 10);
        std::ranges::nth_element(known, place);
        return *place;
    }

    [[nodiscard]] bool fits(std::uint64_t row) const {
        const RowFit::Misfit& misfit = misfits_[row];
        return (misfit.mean <= limit_ || misfit.mean <= kMaxOfBase * misfit.base) && !fit_.is_blank(row) &&
               !fit_.is_blank(row + period_);
    }

    /// Whether rows that are a period apart clearly do not fit, for all of the rows [first, last).
    [[nodiscard]] bool break_all(std::uint64_t first, std::uint64_t last) const {
        for (std::uint64_t row = first; row < last; ++row) {
            const RowFit::Misfit& misfit = misfits_[row];
            if (misfit.mean <= kSharpFactor * limit_ ||
                misfit.mean <= kSharpFactor * kMaxOfBase * misfit.base) {
                return false;
            }
        }
        return first < last;
    }

    [[nodiscard]] bool is_sharp_before(std::uint64_t first) const {
        return first == 0 ? whole_.first : break_all(first - std::min(first, period_), first);
    }

    [[nodiscard]] bool is_sharp_after(std::uint64_t last) const {
        if (last == fit_.rows()) {
            return whole_.last;
        }
        return break_all(last - period_, std::min(last, fit_.rows() - period_));
    }

    RowFit& fit_;
    std::uint64_t period_;
    WholeRows whole_;
    std::vector<RowFit::Misfit> misfits_;
    double limit_ = 0;
};

} // namespace

std::vector<RowRun> find_row_runs(RowFit& fit, std::uint64_t period, WholeRows whole,
                                  std::uint64_t known_first, std::uint64_t known_last) {
    return Runs(fit, period, whole).find(known_first, known_last);
}

} // namespace raw_mend
