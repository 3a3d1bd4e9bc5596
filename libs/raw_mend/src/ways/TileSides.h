#pragma once

#include "container/Description.h"
#include "locate/CodedHeads.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// The samples along one side of a tile: those at the side, and as many further in, each as far from its
/// counterpart as the next sample of the same colour is.
struct TileSide {
    std::vector<std::uint16_t> outer;
    std::vector<std::uint16_t> inner; ///< As many.
};

/// What a tile shows to its neighbours.
struct TileSides {
    /// The sides of a stream that is a tile of the image. Of one that is not proved, only the top. Nothing if
    /// it does not have the size of a tile, or its first rows cannot be decoded.
    [[nodiscard]] static std::optional<TileSides> read(Bytes damaged, const CodedPlace& place,
                                                       const Frame& frame);

    TileSide top;
    std::optional<TileSide> left;
    std::optional<TileSide> right;
    std::optional<TileSide> bottom;
};

/// How much more samples differ across the seam of two sides than on either side of it, as a logarithm: about
/// 0 for neighbours, and never less. The sides must be equally long.
[[nodiscard]] double find_seam(const TileSide& one, const TileSide& other);

} // namespace raw_mend
