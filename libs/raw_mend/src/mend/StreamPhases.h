#pragma once

#include "mend/StreamChain.h"

namespace raw_mend {

/// Differences of a chain whose rows all begin at the same distance from one another: nothing is missing
/// between them, nor put in.
struct PhaseRun {
    std::size_t begin = 0; ///< In the chain: where a row begins. Those before are foreign.
    std::size_t end = 0;   ///< Those from here on are foreign, or of the next run.
};

/// The runs of a chain with predictor 1, by where its rows begin: the first differences of a row go from the
/// row above to this one, all others from value to value. If they are taken at another place, the rows' means
/// jump. In ascending order; the first one begins where the chain's first row does, and is empty if that row
/// is foreign. Takes time proportional to the chain.
[[nodiscard]] std::vector<PhaseRun> find_phase_runs(const StreamFrame& frame, const StreamChain& chain);

} // namespace raw_mend
