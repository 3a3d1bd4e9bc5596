#include "fit/Canvas.h"

#include "Work.h"

#include <algorithm>

namespace still_mend {

void Canvas::put(std::size_t position, std::size_t trace, std::size_t count, const Levels& level) {
    Work::add(count);
    for (std::size_t index = 0; index < count && position + index < trace_of_.size(); ++index) {
        trace_of_[position + index] = static_cast<std::uint32_t>(trace + index);
        level_[position + index] = level;
    }
}

Canvas::Roughness Canvas::roughness() const {
    Roughness sums;
    std::size_t apart = 0;
    // A place to compare with that is no neighbour: far away in both directions, in a fixed but scattered
    // order.
    std::vector<std::uint32_t> taken_places;
    for (std::size_t place = 0; place < total(); ++place) {
        if (is_filled(place)) {
            taken_places.push_back(static_cast<std::uint32_t>(place));
        }
    }
    for (std::size_t nth = 0; nth < taken_places.size(); ++nth) {
        const std::size_t place = taken_places[nth];
        const int level = level_[place][0] * traces_.step_of_dc();
        if (place >= wide_ && is_filled(place - wide_)) {
            const int above = level_[place - wide_][0] * traces_.step_of_dc();
            sums.down += traces_.step_down(trace_of_[place - wide_], trace_of_[place], level - above);
            ++sums.pairs;
            const std::size_t other =
                taken_places[(nth * 7919 + taken_places.size() / 2) % taken_places.size()];
            sums.apart += traces_.step_down(trace_of_[other], trace_of_[place],
                                            level - level_[other][0] * traces_.step_of_dc());
            ++apart;
        }
        if (place % wide_ != 0 && is_filled(place - 1)) {
            const int before = level_[place - 1][0] * traces_.step_of_dc();
            sums.right += traces_.step_right(trace_of_[place - 1], trace_of_[place], level - before);
            ++sums.pairs_right;
        }
    }
    sums.down /= static_cast<double>(std::max<std::size_t>(sums.pairs, 1));
    sums.right /= static_cast<double>(std::max<std::size_t>(sums.pairs_right, 1));
    sums.apart /= static_cast<double>(std::max<std::size_t>(apart, 1));
    return sums;
}

} // namespace still_mend
