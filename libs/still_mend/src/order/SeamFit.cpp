#include "order/SeamFit.h"

#include "fit/BlockBorders.h"
#include "fit/Statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace still_mend {

namespace {

// The misfit of a row's length of MCUs where the right piece follows was -0.3 to 0.6 in 418 measured, and 0
// in the median; where a wrong one follows, mostly 1 to 4. Fewer MCUs spread more.
constexpr double kMostMisfit = 0.35;
constexpr double kSpread = 2;

// What is off by this much in the median, of which this share is to the same side, is off everywhere. Where
// the right piece follows, the share was up to 0.78, except for one edge of 418.
constexpr double kLeastOff = kLevel;
constexpr double kMostOneSided = 0.8;
constexpr std::size_t kLeastForLevel = 16; // MCUs. Fewer may all be to one side by chance.

} // namespace

double SeamFit::misfit(std::size_t first, std::size_t last) const {
    double sum = 0;
    for (std::size_t position = first; position < last; ++position) {
        sum += std::log((step(position) + kLevel) / (usual_step(position) + kLevel));
    }
    return sum / static_cast<double>(last - first);
}

double SeamFit::bound(std::size_t mcus) {
    return kMostMisfit + kSpread / std::sqrt(static_cast<double>(mcus));
}

bool SeamFit::is_level(std::size_t first, std::size_t last) const {
    first = std::max(first, wide_);
    if (last < first + kLeastForLevel) {
        return true;
    }
    for (std::size_t component = 0; component < traces_.components(); ++component) {
        std::vector<double> levels;
        std::vector<double> sizes;
        for (std::size_t position = first; position < last; ++position) {
            levels.push_back(level_down(position, component));
            sizes.push_back(std::abs(levels.back()));
        }
        const double off = std::abs(median(levels));
        if (off >= kLeastOff && off > kMostOneSided * (median(sizes) + kLevel / 4.0)) {
            return false;
        }
    }
    return true;
}

int SeamFit::level_down(std::size_t position, std::size_t component) const {
    return component == 0 ? traces_.level_down(position - wide_, position)
                          : traces_.level_down(position - wide_, position, component);
}

double SeamFit::step(std::size_t position) const {
    if (position < wide_) {
        return position == 0 ? 0 : traces_.step_right(position - 1, position);
    }
    double sum = traces_.step_down(position - wide_, position);
    for (std::size_t component = 1; component < traces_.components(); ++component) {
        sum += std::abs(level_down(position, component));
    }
    return sum;
}

double SeamFit::usual_step(std::size_t position) const {
    if (position >= 2 * wide_) {
        return step(position - wide_);
    }
    return position == 0 ? 0 : traces_.step_right(position - 1, position);
}

} // namespace still_mend
