#include "judge/signs/ImpossibleValues.h"

#include "judge/signs/ValueRange.h"

#include <algorithm>
#include <utility>

namespace plate_mend::host {

namespace {

/// Impossible values that make a row bad. Measured: no row of ten whole camera files or of the tests' scenes
/// has any. Up to 31 are taken for hot pixels, as a test holds.
constexpr std::ptrdiff_t kFewest = 32;

} // namespace

Sign find_impossible_values(const SensorView& view) {
    std::vector<std::size_t> rows;
    for (std::size_t y = 0; y < view.rows; ++y) {
        const std::uint16_t* row = view.row(y);
        if (!has_value_outside(row, view.columns, view.lowest(), view.white)) {
            continue; // As in nearly all.
        }
        const auto count = std::count_if(row, row + view.columns, [&](std::uint16_t value) {
            return value > view.white || view.is_below_black(value);
        });
        if (count >= kFewest) {
            rows.push_back(y);
        }
    }
    return sign_of_rows(std::move(rows), "values that this sensor cannot give");
}

} // namespace plate_mend::host
