#include "judge/signs/Splice.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>

namespace plate_mend::host {

namespace {

constexpr std::size_t kFewestWindowsForSplice = 12;
constexpr double kTimesUsual = 3;      ///< A window leaps by more than so many times its usual leap,
constexpr double kTimesRough = 2.5;    ///< more than so many times what its roughness does to its mean,
constexpr double kLeastLeap = 2;       ///< and by more than so many levels.
constexpr std::size_t kFirstBelow = 3; ///< The usual leap is also taken from some rows below the next ones.
constexpr std::size_t kLastBelow = 12;
constexpr double kEachLeaping = 0.35; ///< Share of windows that leap in each part where another one begins.

constexpr double kLeaping = 0.4; ///< Of all of these,
constexpr double kCalm = 0.1;    ///< and at most elsewhere.

constexpr std::size_t kBorder = 6;      ///< One part in so many of a row at either end is left out,
constexpr std::size_t kLeastBorder = 5; ///< and at least so many windows.

/// Leaps of a part of a row.
struct Leaps {
    double windows = 0;
    double up = 0;
    double down = 0;

    [[nodiscard]] double share() const { return windows == 0 ? 0 : (up + down) / windows; }
    [[nodiscard]] Leaps operator-(const Leaps& other) const {
        return {windows - other.windows, up - other.up, down - other.down};
    }
    [[nodiscard]] Leaps operator+(const Leaps& other) const {
        return {windows + other.windows, up + other.up, down + other.down};
    }
};

/// The leaps of each row, summed from its left end on.
class LeapSums {
  public:
    LeapSums(const SensorView& view, const Windows& windows) : per_row_(windows.per_row()) {
        sums_.reserve(view.rows * (per_row_ + 1));
        for (std::size_t y = 0; y < view.rows; ++y) {
            Leaps sum;
            sums_.push_back(sum);
            for (std::size_t index = 0; index < per_row_; ++index) {
                sum.windows += 1;
                if (y >= view.dy && leaps(view, windows, y, index)) {
                    const bool rises = windows.at(y, index).mean > windows.at(y - view.dy, index).mean;
                    (rises ? sum.up : sum.down) += 1;
                }
                sums_.push_back(sum);
            }
        }
    }

    [[nodiscard]] std::size_t per_row() const { return per_row_; }
    [[nodiscard]] Leaps of(std::size_t y, std::size_t first, std::size_t end) const {
        return end <= first ? Leaps{} : at(y, end) - at(y, first);
    }
    [[nodiscard]] Leaps of(std::size_t y) const { return of(y, 0, per_row_); }

  private:
    [[nodiscard]] static bool leaps(const SensorView& view, const Windows& windows, std::size_t y,
                                    std::size_t index) {
        const Window& window = windows.at(y, index);
        const double of_noise = window.rough / std::sqrt(static_cast<double>(windows.width()));
        if (window.leap <= std::max({kLeastLeap, kTimesUsual * window.usual_leap, kTimesRough * of_noise})) {
            return false;
        }
        double below = 0;
        const std::size_t first = std::min(y + kFirstBelow, view.rows);
        const std::size_t end = std::min(y + kLastBelow + 1, view.rows);
        for (std::size_t row = first; row < end; ++row) {
            below += windows.at(row, index).leap;
        }
        return window.leap * static_cast<double>(end - first) > kTimesUsual * below;
    }

    [[nodiscard]] const Leaps& at(std::size_t y, std::size_t index) const {
        return sums_[y * (per_row_ + 1) + index];
    }

    std::size_t per_row_;
    std::vector<Leaps> sums_;
};

/// Whether another picture begins in this row, in or beside a window.
bool begins_at(const LeapSums& sums, std::size_t y, std::size_t cut) {
    const std::size_t end = sums.per_row();
    const std::size_t left = cut - std::min<std::size_t>(cut, 1); // The window itself belongs to both.
    const std::size_t right = std::min(cut + 1, end);
    const Leaps first = sums.of(y, right, end);
    const Leaps second = sums.of(y + 1);
    const Leaps third = sums.of(y + 2, 0, left);
    const Leaps all = first + second + third;
    const auto leaps = [](const Leaps& some) { return some.windows == 0 || some.share() >= kEachLeaping; };
    if (all.share() < kLeaping || !leaps(first) || !leaps(second) || !leaps(third)) {
        return false;
    }
    const Leaps calm = sums.of(y, 0, left) + sums.of(y + 2, right, end) + sums.of(y - 1) + sums.of(y + 3);
    return calm.share() <= kCalm;
}

} // namespace

Sign find_splice(const SensorView& view, const Windows& windows, const std::vector<bool>& bad_rows) {
    if (view.dx != 2 || view.dy != 2 || windows.per_row() < kFewestWindowsForSplice) {
        return {};
    }
    const LeapSums sums(view, windows);
    for (std::size_t y = 4; y + 4 < view.rows; ++y) {
        if (sums.of(y + 1).share() < kEachLeaping || is_any_marked(bad_rows, y - 3, y + 4)) {
            continue;
        }
        const std::size_t border = std::max(kLeastBorder, windows.per_row() / kBorder + 1);
        for (std::size_t cut = border; cut + border <= windows.per_row(); ++cut) {
            if (begins_at(sums, y, cut)) {
                return {"from row " + std::to_string(y) + " on the picture is another one",
                        {y},
                        Displaced{y, true}};
            }
        }
    }
    return {};
}

} // namespace plate_mend::host
