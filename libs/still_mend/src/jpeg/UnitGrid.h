#pragma once

#include "jpeg/MarkerSegments.h"

namespace still_mend {

/// Where the blocks of a scan go. Its units are MCUs, or blocks in a scan of one component.
class UnitGrid {
  public:
    /// Both must outlive the grid.
    UnitGrid(const Frame& frame, const Scan& scan)
        : frame_(frame), scan_(scan),
          wide_(scan.components.size() > 1 ? frame.mcus_wide()
                                           : frame.blocks_wide(frame.components[scan.components[0].index])) {}

    [[nodiscard]] std::size_t units() const {
        if (scan_.components.size() > 1) {
            return frame_.mcus();
        }
        const auto& component = frame_.components[scan_.components[0].index];
        return std::size_t{frame_.blocks_wide(component)} * frame_.blocks_high(component);
    }

    /// Units side by side.
    [[nodiscard]] std::size_t units_wide() const { return wide_; }

    /// Visits the blocks of a unit, up to the first for which visit(channel, component, row, column) is
    /// false. Returns whether there was none.
    template <typename Visit>
    bool visit(std::size_t unit, Visit visit) const {
        if (scan_.components.size() == 1) {
            return visit(std::size_t{0}, scan_.components[0].index, unit / wide_, unit % wide_);
        }
        for (std::size_t channel = 0; channel < scan_.components.size(); ++channel) {
            const std::size_t index = scan_.components[channel].index;
            const auto& component = frame_.components[index];
            const std::size_t row = unit / wide_ * component.v_samp;
            const std::size_t column = unit % wide_ * component.h_samp;
            for (std::size_t block = 0; block < std::size_t{component.h_samp} * component.v_samp; ++block) {
                if (!visit(channel, index, row + block / component.h_samp,
                           column + block % component.h_samp)) {
                    return false;
                }
            }
        }
        return true;
    }

  private:
    const Frame& frame_;
    const Scan& scan_;
    std::size_t wide_;
};

} // namespace still_mend
