#pragma once

#include "mend/StreamPhases.h"
#include "mend/StreamSides.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace raw_mend {

/// A run of a chain and where its values belong.
struct PlacedRun {
    PhaseRun run;
    std::size_t value = 0;   ///< Of its first difference.
    bool is_certain = false; ///< Whether the place follows from the beginning or the end of the stream.
};

/// How runs fit the rows beside them, at their place and others. May change values of the stream that are not
/// known yet.
using SideComparison = std::function<std::vector<SidePlace>(const PlacedRun& run)>;

/// Finds how many values are missing before each run: the phase of its rows leaves whole rows open; they
/// follow from how many bytes are foreign, and from the values that are missing in all. Runs for which there
/// is no place are left out. The first run must be where the chain begins if nothing is lost.
///
///   sides  what else places runs; it may be none
[[nodiscard]] std::vector<PlacedRun> place_runs(const StreamFrame& frame, const StreamChain& chain,
                                                std::vector<PhaseRun> runs, std::size_t lag,
                                                const SideComparison& sides = {});

} // namespace raw_mend
