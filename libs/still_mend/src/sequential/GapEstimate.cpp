#include "sequential/GapEstimate.h"

#include <algorithm>

namespace still_mend {

namespace {

constexpr double kLeastBytes = 0.25; // Of an MCU.
constexpr double kMostScale = 4;

} // namespace

void GapEstimate::calibrate(const std::vector<RunPart>& parts, std::size_t last_position) {
    double lost = 0;
    auto placed = static_cast<double>(parts.front().size());
    for (std::size_t index = 1; index < parts.size(); ++index) {
        lost += by_bytes(parts[index - 1], parts[index]);
        placed += index + 1 < parts.size() ? static_cast<double>(parts[index].size()) : 0;
    }
    scale_ = std::clamp((static_cast<double>(last_position) - placed) / std::max(lost, 1.0), 1 / kMostScale,
                        kMostScale);
}

double GapEstimate::lost_mcus(const RunPart& before, const RunPart& after) const {
    return std::max(by_bytes(before, after) * scale_, 1.0);
}

double GapEstimate::by_bytes(const RunPart& before, const RunPart& after) const {
    const double bytes =
        std::max(offset_of(after.run, after.first) - offset_of(before.run, before.last), 0.0);
    return bytes / std::max((bytes_per_mcu(before) + bytes_per_mcu(after)) / 2, kLeastBytes);
}

double GapEstimate::bytes_per_mcu(const RunPart& part) const {
    return (offset_of(part.run, part.last) - offset_of(part.run, part.first)) /
           static_cast<double>(part.size());
}

/// Approximate: as if all MCUs of a run had the same number of bytes.
double GapEstimate::offset_of(std::size_t run_index, std::size_t trace) const {
    const Run& run = survey_.runs[run_index];
    const double share = static_cast<double>(trace - run.trace) / static_cast<double>(run.count);
    return static_cast<double>(run.begin) + share * static_cast<double>(run.end - run.begin);
}

} // namespace still_mend
