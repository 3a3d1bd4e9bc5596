#include "judge/PixelSigns.h"

#include "judge/signs/Displacement.h"
#include "judge/signs/ImpossibleValues.h"
#include "judge/signs/LevelStep.h"
#include "judge/signs/Noise.h"
#include "judge/signs/Outliers.h"
#include "judge/signs/Runs.h"
#include "judge/signs/Seams.h"
#include "judge/signs/Shift.h"
#include "judge/signs/Sign.h"
#include "judge/signs/Splice.h"
#include "judge/signs/ValueRange.h"
#include "judge/signs/Windows.h"
#include "judge/signs/WrongWidth.h"

#include <algorithm>
#include <utility>

namespace plate_mend::host {

namespace {

/// What is left of a sign without the rows that are accounted for.
Sign without(Sign sign, const std::vector<bool>& accounted) {
    const auto is_known = [&](std::size_t row) { return row < accounted.size() && accounted[row]; };
    const bool had_rows = !sign.bad_rows.empty();
    std::erase_if(sign.bad_rows, is_known);
    if (sign.displaced && is_known(sign.displaced->from_row)) {
        sign.displaced.reset();
        return sign.bad_rows.empty() ? Sign{} : sign;
    }
    return had_rows && sign.bad_rows.empty() && !sign.displaced ? Sign{} : sign;
}

void add(const Sign& sign, PixelSigns& signs) {
    if (sign.finding.empty()) {
        return;
    }
    signs.findings.push_back(sign.finding);
    for (const std::size_t row : sign.bad_rows) {
        signs.bad_rows[row] = true;
    }
    // The first place counts, and of two signs of one place the first.
    const std::size_t first = signs.displaced_from.value_or(signs.bad_rows.size());
    if (sign.displaced && sign.displaced->from_row < first) {
        signs.displaced_from = sign.displaced->from_row;
        signs.place_is_known = sign.displaced->begins_there;
    }
}

/// Whether a row that no sign makes bad, and that is not beside one, has values that no sensor gives.
bool has_scattered_values(const SensorView& view, const std::vector<bool>& accounted,
                          const std::vector<bool>& bad_rows) {
    for (std::size_t y = 0; y < view.rows; ++y) {
        const std::size_t first = y - std::min(y, view.dy);
        const std::size_t end = std::min(y + view.dy + 1, view.rows);
        const bool is_known = is_any_marked(bad_rows, first, end) || (y < accounted.size() && accounted[y]);
        if (!is_known && has_value_outside(view.row(y), view.columns, 0, view.white)) {
            return true;
        }
    }
    return false;
}

} // namespace

PixelSigns find_signs(const SensorView& view, const std::vector<bool>& accounted,
                      const std::vector<Sign>& of_data) {
    PixelSigns signs;
    const auto add_unknown = [&](Sign sign) { add(without(std::move(sign), accounted), signs); };
    signs.bad_rows.assign(view.rows, false);
    if (view.rows <= view.dy || view.columns < 2 * Windows::width_for(view.columns)) {
        signs.findings.emplace_back("the picture is too small to be checked for damage");
        return signs;
    }
    for (const Sign& sign : of_data) {
        add_unknown(sign);
    }
    add_unknown(find_impossible_values(view));
    add_unknown(find_runs(view));
    const Windows windows(view);
    add_unknown(find_noise(view, windows));
    add_unknown(find_displacement(view, windows, signs.bad_rows));
    add_unknown(find_splice(view, windows, signs.bad_rows));
    add_unknown(find_level_step(view, signs.bad_rows));
    add_unknown(find_outliers(view, signs.bad_rows));
    if (!view.in_columns) { // In columns, pictures look like that.
        add_unknown(find_shift(view, signs.bad_rows));
        add_unknown(find_wrong_width(view, signs.bad_rows));
        add(find_seams(view, accounted), signs);
    }
    signs.scattered = has_scattered_values(view, accounted, signs.bad_rows);
    return signs;
}

} // namespace plate_mend::host
