#pragma once

#include "fit/McuTraces.h"
#include "sequential/RunPart.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace still_mend {

/// Finds where a run slipped: damage often leaves only a few MCUs too many or too few, and the row after it
/// then fits the one before best if it is moved by as many. A positive slip means MCUs too many.
class SlipSearch {
  public:
    /// The traces must outlive it. wide: MCUs in a row of the picture.
    SlipSearch(const McuTraces& traces, std::size_t wide) : traces_(traces), wide_(wide) {}

    /// Splits it wherever it slipped by up to kReach MCUs.
    [[nodiscard]] std::vector<RunPart> split(const RunPart& part) const;

    /// The MCU at which a slip by this many gains most, if it gains anything.
    [[nodiscard]] std::optional<std::size_t> best_cut(const RunPart& part, std::ptrdiff_t slip) const;

    static constexpr std::ptrdiff_t kReach = 6;

  private:
    [[nodiscard]] std::size_t first_compared(std::ptrdiff_t slip) const;
    [[nodiscard]] std::vector<double> gains_of(const RunPart& part, std::ptrdiff_t slip) const;
    void mark(const RunPart& part, std::ptrdiff_t slip, std::vector<bool>& slips) const;

    const McuTraces& traces_;
    std::size_t wide_;
};

} // namespace still_mend
