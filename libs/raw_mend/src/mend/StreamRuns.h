#pragma once

#include "mend/MaskedBorder.h"
#include "mend/StreamLoss.h"
#include "mend/StreamTears.h"

namespace raw_mend {

/// The values of a stream after losses.
struct StreamRuns {
    std::size_t loss = 0;           ///< Values before this one are as they were decoded.
    std::size_t certain = 0;        ///< Those before this one are the photograph's own for certain.
    std::vector<ValueRun> lost;     ///< Filled.
    std::vector<ValueRun> doubtful; ///< At the wrong place or level, perhaps.
};

/// Decodes what is between losses and after them, up to where the stream ends: run after run, each placed by
/// where its rows begin, and levelled by the rows above and beside it, by its masked columns, and by how
/// often single values occur. A run is doubtful unless values before the first loss, or other runs that are
/// not doubtful, prove its place and its level. The walk's values become those of the photograph; lost ones
/// are filled. Nothing, and no value changed, if the runs are not clear: the predictor is another one than 1,
/// or nothing is lost.
///
///   suspects  the breaks of the walk, in ascending order
///   border    as in a like stream; it may be none
[[nodiscard]] std::optional<StreamRuns> mend_runs(StreamWalk& walk,
                                                  std::span<const StreamTears::Suspect> suspects,
                                                  std::uint64_t end, const StreamSlices& slices,
                                                  const MaskedBorder& border);

} // namespace raw_mend
