#include "judge/PixelSigns.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <set>
#include <utility>

namespace plate_mend::host {

namespace {

constexpr std::size_t kRun = 128;       ///< Samples of one value from which a run is looked at.
constexpr std::size_t kImpossible = 32; ///< Impossible values in a row that make it bad.
constexpr double kNoise = 0.2; ///< Mean step of noise, as a share of the range. Uniform noise has 0.33.
constexpr double kNear = 0.02; ///< Share of the range within which two values are alike.

unsigned step(unsigned a, unsigned b) {
    return a > b ? a - b : b - a;
}

std::string rows_text(std::size_t first, std::size_t count) {
    return count == 1 ? "row " + std::to_string(first)
                      : std::to_string(count) + " rows from row " + std::to_string(first) + " on";
}

/// All that is measured of one window of a row.
struct Window {
    double mean = 0;       ///< Level.
    double rough = 0;      ///< Mean step between neighbours of one colour.
    double leap = 0;       ///< Step of the level from the row of the same colours above.
    double usual_leap = 0; ///< Its mean in the rows just above.
};

class Search {
  public:
    explicit Search(const SensorView& view)
        : view_(view), range_(std::max(1U, view.white - std::min(view.black, view.white))),
          window_(view.columns >= 1024  ? 64
                  : view.columns >= 320 ? 32
                                        : 16),
          per_row_(view.columns / window_) {
        signs_.bad_rows.assign(view.rows, false);
    }

    PixelSigns run() {
        if (view_.rows <= view_.dy || view_.columns < 2 * window_) {
            signs_.findings.emplace_back("too small a picture to look for damage in it");
            return std::move(signs_);
        }
        look_for_impossible_values();
        look_for_runs();
        measure();
        look_for_noise();
        look_for_a_displacement();
        look_for_a_shift();
        look_for_a_wrong_width();
        look_for_seams();
        return std::move(signs_);
    }

  private:
    /// Marks rows, and tells of them in one sentence.
    void report(const std::vector<std::size_t>& rows, const std::string& what) {
        if (rows.empty()) {
            return;
        }
        for (const std::size_t row : rows) {
            signs_.bad_rows[row] = true;
        }
        signs_.findings.push_back(what + ": " + rows_text(rows.front(), rows.size()));
    }

    void look_for_impossible_values() {
        std::vector<std::size_t> rows;
        for (std::size_t y = 0; y < view_.rows; ++y) {
            const std::uint16_t* row = view_.row(y);
            const auto count = std::count_if(row, row + view_.columns, [this](std::uint16_t value) {
                return value > view_.white || value + range_ / 64 < view_.black;
            });
            if (static_cast<std::size_t>(count) >= kImpossible) {
                rows.push_back(y);
            }
        }
        report(rows, "values that this sensor cannot give");
    }

    /// A run of one value in reading order: across the ends of rows, too.
    struct Run {
        std::size_t first = 0; ///< Positions are row * columns + column.
        std::size_t last = 0;  ///< One behind.
        unsigned value = 0;
    };

    [[nodiscard]] unsigned sample_at(std::size_t position) const {
        return view_.row(position / view_.columns)[position % view_.columns];
    }

    void look_for_runs() {
        const std::size_t count = view_.rows * view_.columns;
        std::vector<std::size_t> rows;
        Run run{0, 0, sample_at(0)};
        for (std::size_t y = 0; y < view_.rows; ++y) {
            const std::uint16_t* row = view_.row(y);
            for (std::size_t x = 0; x < view_.columns; ++x) {
                if (row[x] != run.value) {
                    run.last = y * view_.columns + x;
                    judge(run, rows);
                    run = {run.last, 0, row[x]};
                }
            }
        }
        run.last = count;
        judge(run, rows);
        rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
        report(rows, "runs of one value where a picture should be");
    }

    void judge(const Run& run, std::vector<std::size_t>& rows) const {
        if (run.last - run.first < kRun) {
            return;
        }
        const bool below_black = run.value + range_ / 64 < view_.black;
        const bool to_the_end =
            run.last == view_.rows * view_.columns && run.value < view_.white - range_ / 10;
        const bool starts = starts_abruptly(run);
        const bool ends = ends_abruptly(run);
        if (below_black || (starts && ends) || (starts && to_the_end) || (run.first == 0 && ends)) {
            for (std::size_t y = run.first / view_.columns; y <= (run.last - 1) / view_.columns; ++y) {
                rows.push_back(y);
            }
        }
    }

    /// Whether few of the samples above the run's first row are like it.
    [[nodiscard]] bool starts_abruptly(const Run& run) const {
        const std::size_t reach = view_.dy * view_.columns;
        const std::size_t last = std::min(run.last, run.first + view_.columns);
        return run.first >= reach && few_alike(run.first - reach, last - reach, run.value);
    }

    [[nodiscard]] bool ends_abruptly(const Run& run) const {
        const std::size_t reach = view_.dy * view_.columns;
        const std::size_t first = std::max(run.first, run.last - std::min(run.last, view_.columns));
        return run.last + reach <= view_.rows * view_.columns &&
               few_alike(first + reach, run.last + reach, run.value);
    }

    /// Exactly alike counts where the run is at the lower end: dark pictures differ by little, but they
    /// differ.
    [[nodiscard]] bool few_alike(std::size_t first, std::size_t last, unsigned value) const {
        const double reach = value <= view_.black ? 0.5 : kNear * range_;
        std::size_t alike = 0;
        for (std::size_t position = first; position < last; ++position) {
            alike += step(sample_at(position), value) < reach ? 1U : 0U;
        }
        return alike * 5 < last - first;
    }

    void measure() {
        windows_.resize(view_.rows * per_row_);
        for (std::size_t y = 0; y < view_.rows; ++y) {
            const std::uint16_t* row = view_.row(y);
            for (std::size_t index = 0; index < per_row_; ++index) {
                Window& window = windows_[y * per_row_ + index];
                std::uint64_t sum = 0;
                // Each colour for itself: a stream may have lost its place in one of them.
                std::array<std::uint64_t, 2> steps{};
                for (std::size_t x = index * window_; x < (index + 1) * window_; ++x) {
                    sum += row[x];
                    steps[x % 2] += x >= view_.dx ? step(row[x], row[x - view_.dx]) : 0;
                }
                window.mean = static_cast<double>(sum) / static_cast<double>(window_);
                window.rough =
                    2.0 * static_cast<double>(std::max(steps[0], steps[1])) / static_cast<double>(window_);
                window.leap = y < view_.dy ? 0 : std::abs(window.mean - at(y - view_.dy, index).mean);
                window.usual_leap = usual_leap(y, index);
            }
        }
    }

    [[nodiscard]] double usual_leap(std::size_t y, std::size_t index) const {
        constexpr std::size_t kReach = 12;
        double sum = 0;
        std::size_t count = 0;
        for (std::size_t above = y > kReach ? y - kReach : 0; above + view_.dy <= y; ++above) {
            sum += at(above, index).leap;
            ++count;
        }
        return count == 0 ? 0 : sum / static_cast<double>(count);
    }

    [[nodiscard]] const Window& at(std::size_t y, std::size_t index) const {
        return windows_[y * per_row_ + index];
    }

    void look_for_noise() {
        constexpr std::size_t kTogether = 48; // Samples; fine detail may be rough for a few.
        std::vector<std::size_t> rows;
        for (std::size_t y = 0; y < view_.rows; ++y) {
            std::size_t run = 0;
            std::size_t longest = 0;
            for (std::size_t index = 0; index < per_row_; ++index) {
                run = at(y, index).rough >= kNoise * range_ ? run + window_ : 0;
                longest = std::max(longest, run);
            }
            if (longest >= kTogether) {
                rows.push_back(y);
            }
        }
        report(rows, "runs as rough as noise");
    }

    void displaced(std::size_t row, bool is_the_place) {
        if (row < signs_.displaced_from.value_or(view_.rows)) {
            signs_.displaced_from = row;
            signs_.place_is_known = is_the_place;
        }
    }

    /// Where data are displaced from the middle of a row on, the right part of that row leaps, and the left
    /// part dy rows further down; a border in the picture does not do that.
    void look_for_a_displacement() {
        constexpr std::size_t kFewestWindows = 16; // In fewer there is too little to compare.
        if (per_row_ < kFewestWindows) {
            return;
        }
        for (std::size_t y = view_.dy; y + view_.dy < view_.rows; ++y) {
            for (std::size_t cut = per_row_ / 8 + 1; cut + per_row_ / 8 + 1 <= per_row_; ++cut) {
                if (stair(y, cut)) {
                    displaced(y, true);
                    signs_.bad_rows[y] = true;
                    signs_.findings.push_back("from row " + std::to_string(y) +
                                              " on the picture is displaced");
                    return;
                }
            }
        }
    }

    [[nodiscard]] bool stair(std::size_t y, std::size_t cut) const {
        // The window of the cut itself may belong to both sides.
        return steep(y, cut + 1, per_row_) && calm(y, 0, cut - 1) && steep(y + view_.dy, 0, cut - 1) &&
               calm(y + view_.dy, cut + 1, per_row_);
    }

    /// Levels leap by far more than before in nearly all windows.
    [[nodiscard]] bool steep(std::size_t y, std::size_t first, std::size_t last) const {
        return first < last && share(y, first, last, 1.0 / 200, 3) >= 0.8;
    }

    [[nodiscard]] bool calm(std::size_t y, std::size_t first, std::size_t last) const {
        return first < last && share(y, first, last, 1.0 / 400, 2) <= 0.2;
    }

    /// Of the windows, the share whose level leaps by a part of the range and by so many times what is usual
    /// there.
    [[nodiscard]] double share(std::size_t y, std::size_t first, std::size_t last, double part,
                               double times) const {
        std::size_t count = 0;
        for (std::size_t index = first; index < last; ++index) {
            const Window& window = at(y, index);
            count += window.leap > part * range_ && window.leap > times * window.usual_leap ? 1U : 0U;
        }
        return static_cast<double>(count) / static_cast<double>(last - first);
    }

    /// A row in steps of some samples, each the mean of those.
    [[nodiscard]] std::vector<double> coarse(std::size_t y, std::size_t unit) const {
        const std::uint16_t* row = view_.row(y);
        std::vector<double> means;
        for (std::size_t x = 0; x + unit <= view_.columns; x += unit) {
            means.push_back(std::accumulate(row + x, row + x + unit, 0.0) / static_cast<double>(unit));
        }
        return means;
    }

    /// The mean step between two rows when the lower one is shifted by so many places.
    static double misfit(const std::vector<double>& upper, const std::vector<double>& lower,
                         std::ptrdiff_t shift) {
        const auto reach = static_cast<std::size_t>(std::abs(shift));
        double sum = 0;
        for (std::size_t x = 0; x + reach < upper.size(); ++x) {
            sum += shift < 0 ? std::abs(upper[x] - lower[x + reach]) : std::abs(upper[x + reach] - lower[x]);
        }
        return sum / static_cast<double>(upper.size() - reach);
    }

    /// By how many places the lower row must be shifted to fit the upper one; 0 where that gains less than
    /// half. At least a quarter of the rows must lie side by side.
    static std::ptrdiff_t best_shift(const std::vector<double>& upper, const std::vector<double>& lower) {
        const auto reach = static_cast<std::ptrdiff_t>(upper.size() * 3 / 4);
        double best = 0.5 * misfit(upper, lower, 0);
        std::ptrdiff_t where = 0;
        for (std::ptrdiff_t shift = -reach; shift <= reach; ++shift) {
            const double fit = misfit(upper, lower, shift);
            if (fit < best) {
                best = fit;
                where = shift;
            }
        }
        return where;
    }

    /// Where bytes were lost or came in between, all that follows is shifted: each row ends with the
    /// beginning of the next, and the border between both is a line from there to the end. Lines are in many
    /// pictures; so this is asked only where there is doubt already.
    void look_for_a_shift() {
        const auto any_bad =
            std::find(signs_.bad_rows.begin(), signs_.bad_rows.end(), true) != signs_.bad_rows.end();
        if (!view_.whole_rows || (!view_.doubtful && !any_bad)) {
            return;
        }
        constexpr std::size_t kBand = 32;
        std::size_t end = view_.rows;
        while (end > 0 && signs_.bad_rows[end - 1]) {
            --end; // What is lost at the end was filled.
        }
        if (end < 3 * kBand || !goes_on(end - kBand, end) || !has_a_line(end - kBand, end)) {
            return;
        }
        std::size_t first = end - kBand;
        constexpr std::size_t kStep = 4;
        while (first >= kStep && (goes_on(first - kStep, first) || signs_.bad_rows[first - 1])) {
            first -= kStep;
        }
        displaced(first, false);
        signs_.findings.push_back("from row " + std::to_string(first) + " on the picture is shifted");
    }

    /// Whether rows go on in the next one: from the last samples to the first of the next row it is no
    /// further than between neighbours.
    [[nodiscard]] bool goes_on(std::size_t first, std::size_t last) const {
        double around = 0;
        double over = 0;
        for (std::size_t y = first; y + 1 < last; ++y) {
            const std::uint16_t* row = view_.row(y);
            const std::uint16_t* next = view_.row(y + 1);
            for (std::size_t x = 0; x < view_.dx; ++x) {
                over += step(next[x], row[view_.columns - view_.dx + x]);
                around += (step(row[view_.columns - view_.dx + x], row[view_.columns - 2 * view_.dx + x]) +
                           step(next[view_.dx + x], next[x])) /
                          2.0;
            }
        }
        const auto count = static_cast<double>((last - first - 1) * view_.dx);
        return over < 2 * around + count * range_ / 1000;
    }

    /// The steps to the left neighbours in one column, over some rows.
    [[nodiscard]] double steps_at(std::size_t column, std::size_t first, std::size_t last) const {
        double sum = 0;
        for (std::size_t y = first; y < last; ++y) {
            sum += step(view_.row(y)[column], view_.row(y)[column - view_.dx]);
        }
        return sum;
    }

    /// Whether a column's steps are far larger than those around it.
    [[nodiscard]] bool is_line(std::size_t column, std::size_t first, std::size_t last) const {
        constexpr std::size_t kAround = 6;
        double around = 0;
        for (std::size_t away = 2; away < 2 + kAround; ++away) {
            around += steps_at(column - away * view_.dx, first, last) +
                      steps_at(column + away * view_.dx, first, last);
        }
        const double own = steps_at(column, first, last);
        return own > 3 * around / (2.0 * kAround) && own > static_cast<double>(last - first) * range_ / 200;
    }

    [[nodiscard]] bool has_a_line(std::size_t first, std::size_t last) const {
        for (std::size_t column = 8 * view_.dx; column + 8 * view_.dx < view_.columns; ++column) {
            if (is_line(column, first, last)) {
                return true;
            }
        }
        return false;
    }

    /// With a wrong width every row is shifted against the one above, all by the same. Pairs of rows that are
    /// alike whatever the shift, as in the sky, tell nothing.
    void look_for_a_wrong_width() {
        constexpr std::size_t kTrials = 64;
        constexpr std::size_t kFewest = 6;
        const std::size_t unit = view_.dx * std::max<std::size_t>(1, view_.columns / (512 * view_.dx));
        std::vector<std::pair<std::vector<double>, std::vector<double>>> pairs;
        for (std::size_t trial = 0; trial < kTrials; ++trial) {
            const std::size_t y = trial * (view_.rows - view_.dy) / kTrials;
            auto upper = coarse(y, unit);
            auto lower = coarse(y + view_.dy, unit);
            if (!signs_.bad_rows[y] && misfit(upper, lower, 0) > range_ / 400.0) {
                pairs.emplace_back(std::move(upper), std::move(lower));
            }
        }
        std::set<std::ptrdiff_t> shifts;
        for (const auto& [upper, lower] : pairs) {
            shifts.insert(best_shift(upper, lower));
        }
        for (const std::ptrdiff_t shift : shifts) {
            const auto fitting = std::count_if(pairs.begin(), pairs.end(), [shift](const auto& pair) {
                return misfit(pair.first, pair.second, shift) < 0.5 * misfit(pair.first, pair.second, 0);
            });
            const auto count = static_cast<std::size_t>(fitting);
            if (std::abs(shift) >= 4 && count >= kFewest && count * 3 >= pairs.size() * 2) {
                displaced(0, true);
                signs_.findings.emplace_back(
                    "rows fit one another only when they are shifted: the width is wrong");
                return;
            }
        }
    }

    /// Levels change no more across the borders of tiles than within them.
    void look_for_seams() {
        if (view_.tile_columns <= view_.dx || view_.tile_columns + view_.dx >= view_.columns) {
            return;
        }
        double across = 0;
        double beside = 0;
        for (std::size_t x = view_.tile_columns; x + view_.dx < view_.columns; x += view_.tile_columns) {
            for (std::size_t y = 0; y < view_.rows; ++y) {
                const std::uint16_t* row = view_.row(y) + x;
                across += step(row[0], *(row - view_.dx));
                beside += (step(*(row - 1), *(row - 1 - view_.dx)) + step(row[view_.dx], row[0])) / 2.0;
            }
        }
        if (across > 4 * beside && across > static_cast<double>(view_.rows) * range_ / 400) {
            displaced(0, true);
            signs_.findings.emplace_back("tiles do not fit one another");
        }
    }

    const SensorView& view_;
    unsigned range_;
    std::size_t window_;  ///< Samples that are measured together.
    std::size_t per_row_; ///< Windows.
    std::vector<Window> windows_;
    PixelSigns signs_;
};

} // namespace

PixelSigns find_signs(const SensorView& view) {
    return Search(view).run();
}

} // namespace plate_mend::host
