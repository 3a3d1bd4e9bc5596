#pragma once

#include "sequential/RunPart.h"
#include "sequential/Survey.h"

#include <vector>

namespace still_mend {

/// Estimates how many MCUs are lost between parts of runs, by the bytes between them.
class GapEstimate {
  public:
    /// The survey must outlive it.
    explicit GapEstimate(const Survey& survey) : survey_(survey) {}

    /// With the position of the last part known, so is the number of all lost MCUs: scales every estimate to
    /// it. There is at least one part.
    void calibrate(const std::vector<RunPart>& parts, std::size_t last_position);

    /// At least one.
    [[nodiscard]] double lost_mcus(const RunPart& before, const RunPart& after) const;

  private:
    [[nodiscard]] double by_bytes(const RunPart& before, const RunPart& after) const;
    [[nodiscard]] double bytes_per_mcu(const RunPart& part) const;
    [[nodiscard]] double offset_of(std::size_t run_index, std::size_t trace) const;

    const Survey& survey_;
    double scale_ = 1; // Of the MCUs that the bytes suggest.
};

} // namespace still_mend
