#include "judge/signs/Displacement.h"

#include <algorithm>

namespace plate_mend::host {

namespace {

/// With fewer windows per row there is too little to compare.
constexpr std::size_t kFewestWindows = 16;

/// The share of a row that must be on either side of the place for a comparison: one in this many windows.
constexpr std::size_t kSide = 8;

/// What counts as a leap.
struct Leap {
    double share_of_range; ///< Higher than this share of the range,
    double times_usual;    ///< and more than this many times the usual leap there.
};

// Measured: in a row of ten whole camera files, up to 0.58 of all windows have a large leap. In the tests'
// scenes all may have, at a level border of the picture; so calm is required as well. With these limits no
// whole scene is displaced, and one that becomes brighter by a tenth of the range in the middle of a row is.
constexpr Leap kLarge{1.0 / 200, 3};
constexpr Leap kSmall{1.0 / 400, 2};
constexpr double kNearlyAll = 0.8; ///< Share of windows with a large leap from which a part of a row leaps.
constexpr double kFew = 0.2;       ///< Share of windows with a small leap up to which it is calm.

class LeapTable {
  public:
    LeapTable(const SensorView& view, const Windows& windows)
        : dy_(view.dy), range_(view.range()), windows_(windows) {}

    /// The windows with a large leap in a row. Where there are none, the data are not displaced.
    [[nodiscard]] std::size_t count_large(std::size_t y) const {
        return count(kLarge, y, 0, windows_.per_row());
    }

    /// Whether the data are displaced from this window of this row on. That window itself may belong to both
    /// sides.
    [[nodiscard]] bool is_stair(std::size_t y, std::size_t cut) const {
        const std::size_t end = windows_.per_row();
        return leaps(y, cut + 1, end) && is_calm(y, 0, cut - 1) && leaps(y + dy_, 0, cut - 1) &&
               is_calm(y + dy_, cut + 1, end);
    }

  private:
    [[nodiscard]] bool leaps(std::size_t y, std::size_t first, std::size_t end) const {
        return first < end && share_of(kLarge, y, first, end) >= kNearlyAll;
    }

    [[nodiscard]] bool is_calm(std::size_t y, std::size_t first, std::size_t end) const {
        return first < end && share_of(kSmall, y, first, end) <= kFew;
    }

    /// The share of windows with such a leap.
    [[nodiscard]] double share_of(const Leap& leap, std::size_t y, std::size_t first, std::size_t end) const {
        return static_cast<double>(count(leap, y, first, end)) / static_cast<double>(end - first);
    }

    [[nodiscard]] std::size_t count(const Leap& leap, std::size_t y, std::size_t first,
                                    std::size_t end) const {
        std::size_t count = 0;
        for (std::size_t index = first; index < end; ++index) {
            const Window& window = windows_.at(y, index);
            count += window.leap > leap.share_of_range * range_ &&
                             window.leap > leap.times_usual * window.usual_leap
                         ? 1U
                         : 0U;
        }
        return count;
    }

    std::size_t dy_;
    unsigned range_;
    const Windows& windows_;
};

} // namespace

Sign find_displacement(const SensorView& view, const Windows& windows, const std::vector<bool>& bad_rows) {
    if (windows.per_row() < kFewestWindows) {
        return {};
    }
    const LeapTable leaps(view, windows);
    const std::size_t side = windows.per_row() / kSide + 1;
    const auto bad_at_top =
        static_cast<std::size_t>(std::find(bad_rows.begin(), bad_rows.end(), false) - bad_rows.begin());
    for (std::size_t y = bad_at_top + view.dy; y + view.dy < view.rows; ++y) {
        if (leaps.count_large(y) == 0) {
            continue;
        }
        for (std::size_t cut = side; cut + side <= windows.per_row(); ++cut) {
            if (leaps.is_stair(y, cut)) {
                return {"from row " + std::to_string(y) + " on the picture is displaced",
                        {y},
                        Displaced{y, true}};
            }
        }
    }
    return {};
}

} // namespace plate_mend::host
