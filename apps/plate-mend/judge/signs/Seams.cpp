#include "judge/signs/Seams.h"

namespace plate_mend::host {

namespace {

/// Measured: across borders, steps are 0.93 to 0.97 times those beside them in three whole camera files with
/// lossless tiles, and 2.3 times in one with lossy tiles. A test finds tiles that have changed places.
/// Steps across borders are more than this many times those beside them, and more than one part in this many
/// of the range for each row.
constexpr double kSeamTimesBeside = 4;
constexpr unsigned kSeamRangeParts = 400;

} // namespace

Sign find_seams(const SensorView& view, const std::vector<bool>& left_out) {
    if (view.tile_columns <= view.dx || view.tile_columns + view.dx >= view.columns) {
        return {};
    }
    double across = 0;
    double beside = 0;
    for (std::size_t x = view.tile_columns; x + view.dx < view.columns; x += view.tile_columns) {
        for (std::size_t y = 0; y < view.rows; ++y) {
            if (y < left_out.size() && left_out[y]) {
                continue;
            }
            const std::uint16_t* border = view.row(y) + x;
            across += step(border[0], *(border - view.dx));
            beside += (step(*(border - 1), *(border - 1 - view.dx)) + step(border[view.dx], border[0])) / 2.0;
        }
    }
    const bool seams = across > kSeamTimesBeside * beside &&
                       across > static_cast<double>(view.rows) * view.range() / kSeamRangeParts;
    return seams ? Sign{"tiles do not fit one another", {}, Displaced{0, true}} : Sign{};
}

} // namespace plate_mend::host
