#pragma once

#include "fit/McuTraces.h"
#include "jpeg/McuDecoder.h"

#include <optional>

namespace still_mend {

/// Finds the bit after damage at which MCUs begin again: the first from which more than a dozen decode and
/// join smoothly. All searches for one picture together try at most kMostTries bits.
class SyncSearch {
  public:
    SyncSearch(const McuDecoder& decoder, McuTraces empty) : decoder_(decoder), scratch_(std::move(empty)) {}

    /// Adds a step between two MCUs that belong together to the measure of what is smooth.
    void add_usual_step(double step) {
        sum_ += step;
        ++count_;
    }

    /// The place of the next MCU, at or after the reader's; nothing before the next marker, or when the
    /// tries are used up.
    [[nodiscard]] std::optional<BitReader> find(BitReader reader);

  private:
    static constexpr unsigned kMostTries = 1U << 17U; // Bits.
    static constexpr unsigned kMcus = 14;             // That must decode and join.
    static constexpr double kLeastSteps = 32;

    [[nodiscard]] bool is_start(BitReader reader);

    const McuDecoder& decoder_;
    McuTraces scratch_;
    double sum_ = 0;
    double count_ = 0;
    unsigned tries_ = 0;
};

} // namespace still_mend
