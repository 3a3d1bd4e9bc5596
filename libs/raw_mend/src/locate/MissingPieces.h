#pragma once

#include "locate/CodedHeads.h"
#include "locate/EntropyData.h"

namespace raw_mend {

/// Between two places, or before the first or after the last one: where pieces can be whose heads are lost.
struct Gap {
    std::size_t least = 0;   ///< That are missing there.
    std::size_t most = 0;    ///< At most the sample's count.
    std::uint64_t bytes = 0; ///< Where they can be, as far as that can be estimated.
};

/// The gap before each place, and the one after the last. A stream that is not proved may hold the data of
/// more than one piece. The places must be at least one, and before_first is what find_entropy_data() finds
/// before the first.
[[nodiscard]] std::vector<Gap> find_gaps(Bytes damaged, std::span<const CodedPlace> places,
                                         const std::vector<EntropyData>& before_first,
                                         const CodedSample& sample);

/// The position of a place among the pieces, as far as it is known.
struct Position {
    std::size_t least = 0;
    std::size_t most = 0;
    std::size_t likely = 0; ///< From least to most.
};

/// The positions of the places with these gaps if this many pieces are missing; nothing if no numbers agree.
[[nodiscard]] std::optional<std::vector<Position>> find_positions(const std::vector<Gap>& gaps,
                                                                  std::size_t missing);

} // namespace raw_mend
