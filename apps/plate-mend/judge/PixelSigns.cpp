#include "judge/PixelSigns.h"

#include "judge/signs/Displacement.h"
#include "judge/signs/ImpossibleValues.h"
#include "judge/signs/Noise.h"
#include "judge/signs/Runs.h"
#include "judge/signs/Seams.h"
#include "judge/signs/Shift.h"
#include "judge/signs/Sign.h"
#include "judge/signs/Windows.h"
#include "judge/signs/WrongWidth.h"

namespace plate_mend::host {

namespace {

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

} // namespace

PixelSigns find_signs(const SensorView& view) {
    PixelSigns signs;
    signs.bad_rows.assign(view.rows, false);
    if (view.rows <= view.dy || view.columns < 2 * Windows::width_for(view.columns)) {
        signs.findings.emplace_back("the picture is too small to be checked for damage");
        return signs;
    }
    add(find_impossible_values(view), signs);
    add(find_runs(view), signs);
    const Windows windows(view);
    add(find_noise(view, windows), signs);
    add(find_displacement(view, windows, signs.bad_rows), signs);
    add(find_shift(view, signs.bad_rows), signs);
    add(find_wrong_width(view, signs.bad_rows), signs);
    add(find_seams(view), signs);
    return signs;
}

} // namespace plate_mend::host
