#include "Resync.h"

#include <algorithm>

namespace still_mend {

std::vector<Placement> place_plain(const ScanData& data, const Survey& survey, Canvas& canvas) {
    std::vector<Placement> placements;
    if (survey.runs.empty() || !survey.runs[0].dc_known || survey.runs[0].count == 0) {
        return placements;
    }
    const Run& first = survey.runs[0];
    const bool broken = first.count < data.total;
    const std::size_t count =
        broken && !first.closes
            ? smooth_prefix(survey.traces, first.trace, first.trace + first.count, typical_step(survey))
            : first.count;
    placements.push_back({0, 0, count, 0, {}});
    canvas.put(0, first.trace, count);
    return placements;
}

} // namespace still_mend
