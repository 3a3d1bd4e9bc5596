#include "judge/signs/Shift.h"

#include <algorithm>

namespace plate_mend::host {

namespace {

// None of these limits has a measurement of its own. The tests show that with them 120 whole scenes are not
// shifted, and that a scene without 50 of its samples is, where there is doubt.

/// Rows at the end of the picture that are examined first.
constexpr std::size_t kBand = 32;

/// Rows by which the search then moves up.
constexpr std::size_t kStep = 4;

/// Rows go on where the step into the next one is less than this many times that between neighbours, plus one
/// part in this many of the range.
constexpr double kTimesAround = 2;
constexpr unsigned kShiftRangeParts = 1000;

/// A column is a line where its steps are more than this many times the mean of those beside it, over this
/// many columns of the same colour on either side, and more than one part in this many of the range.
constexpr double kShiftTimesBeside = 3;
constexpr std::size_t kBeside = 6;
constexpr std::size_t kFirstBeside = 2; ///< The nearest column on either side belongs to the line itself.
constexpr unsigned kLineRangeParts = 200;

/// Whether rows continue in the next one: the step from the last samples to the first of the next row is no
/// larger than between neighbours.
bool rows_continue(const SensorView& view, std::size_t first, std::size_t end) {
    double around = 0;
    double over = 0;
    const std::size_t right = view.columns - view.dx;
    for (std::size_t y = first; y + 1 < end; ++y) {
        const std::uint16_t* row = view.row(y);
        const std::uint16_t* next = view.row(y + 1);
        for (std::size_t x = 0; x < view.dx; ++x) {
            over += step(next[x], row[right + x]);
            around +=
                (step(row[right + x], row[right - view.dx + x]) + step(next[view.dx + x], next[x])) / 2.0;
        }
    }
    const auto count = static_cast<double>((end - first - 1) * view.dx);
    return over < kTimesAround * around + count * view.range() / kShiftRangeParts;
}

/// The steps to the left neighbours in one column, over some rows.
double steps_in(const SensorView& view, std::size_t column, std::size_t first, std::size_t end) {
    double sum = 0;
    for (std::size_t y = first; y < end; ++y) {
        sum += step(view.row(y)[column], view.row(y)[column - view.dx]);
    }
    return sum;
}

/// Whether a column's steps are far larger than those beside it.
bool is_line(const SensorView& view, std::size_t column, std::size_t first, std::size_t end) {
    double beside = 0;
    for (std::size_t away = kFirstBeside; away < kFirstBeside + kBeside; ++away) {
        beside += steps_in(view, column - away * view.dx, first, end) +
                  steps_in(view, column + away * view.dx, first, end);
    }
    const double own = steps_in(view, column, first, end);
    return own > kShiftTimesBeside * beside / (2.0 * kBeside) &&
           own > static_cast<double>(end - first) * view.range() / kLineRangeParts;
}

bool has_line(const SensorView& view, std::size_t first, std::size_t end) {
    const std::size_t margin = (kFirstBeside + kBeside) * view.dx;
    for (std::size_t column = margin; column + margin < view.columns; ++column) {
        if (is_line(view, column, first, end)) {
            return true;
        }
    }
    return false;
}

/// One past the last row that is not known to be bad: what is lost at the end was filled.
std::size_t end_of_picture(const std::vector<bool>& bad_rows) {
    std::size_t end = bad_rows.size();
    while (end > 0 && bad_rows[end - 1]) {
        --end;
    }
    return end;
}

} // namespace

Sign find_shift(const SensorView& view, const std::vector<bool>& bad_rows) {
    const bool any_bad = std::find(bad_rows.begin(), bad_rows.end(), true) != bad_rows.end();
    if (!view.whole_rows || (!view.doubtful && !any_bad)) {
        return {};
    }
    const std::size_t end = end_of_picture(bad_rows);
    if (end < 3 * kBand || !rows_continue(view, end - kBand, end) || !has_line(view, end - kBand, end)) {
        return {};
    }
    std::size_t first = end - kBand;
    while (first >= kStep && (rows_continue(view, first - kStep, first) || bad_rows[first - 1])) {
        first -= kStep;
    }
    return {"from row " + std::to_string(first) + " on the picture is shifted", {}, Displaced{first, false}};
}

} // namespace plate_mend::host
