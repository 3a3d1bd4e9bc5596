#pragma once

#include "mend/StreamPhases.h"

namespace raw_mend {

/// A run of a chain and where its values belong.
struct PlacedRun {
    PhaseRun run;
    std::size_t value = 0;   ///< Of its first difference.
    bool is_certain = false; ///< Whether the place follows from the beginning or the end of the stream.
};

/// Finds how many values are missing before each run: the phase of its rows leaves whole rows open; they
/// follow from how many bytes are foreign, and from the values that are missing in all. Runs for which there
/// is no place are left out. The first run must be where the chain begins if nothing is lost.
[[nodiscard]] std::vector<PlacedRun> place_runs(const StreamFrame& frame, const StreamChain& chain,
                                                std::vector<PhaseRun> runs, std::size_t lag);

} // namespace raw_mend
