#include "sequential/SyncSearch.h"

#include <algorithm>

namespace still_mend {

namespace {

constexpr double kAssumedStep = 3 * kLevel;  // The largest of the laboratory's pictures (docs/salvage.md).
constexpr double kMostOfMean = 3;            // What is no smoother than this is noise,
constexpr double kAlwaysSmooth = 4 * kLevel; // unless it is smoother than this.

} // namespace

bool SyncSearch::is_start(BitReader reader) {
    const double mean = count_ > 0 ? sum_ / count_ : kAssumedStep;
    const double most = std::max(kMostOfMean * mean, kAlwaysSmooth); // Of the mean step of what begins here.
    scratch_.truncate(0);
    DcState dc;
    dc.known = false;
    Mcu mcu;
    double steps = 0;
    for (unsigned count = 0; count < kMcus; ++count) {
        if (!decoder_.decode(reader, dc, mcu)) {
            return false;
        }
        scratch_.append(mcu);
        if (count > 0) {
            steps += scratch_.step_right(count - 1, count);
            if (steps > most * (kMcus - 1)) {
                return false;
            }
        }
    }
    return true;
}

std::optional<BitReader> SyncSearch::find(BitReader reader) {
    if (count_ < kLeastSteps) {
        return std::nullopt; // Nothing would show where to place what is found.
    }
    for (; tries_ < kMostTries && !reader.overrun(); ++tries_) {
        if (is_start(reader)) {
            return reader;
        }
        static_cast<void>(reader.get(1));
    }
    return std::nullopt;
}

} // namespace still_mend
