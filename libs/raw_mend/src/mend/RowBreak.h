#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"
#include "mend/ImageRange.h"

#include <cstdint>
#include <optional>
#include <span>

namespace raw_mend {

/// An image that is in a file in two parts: up to a place in it, as if it began at one offset; after that, as
/// if it began at another.
struct TornRows {
    Bytes file;
    const RowGeometry& geometry;
    std::int64_t front = 0; ///< Offset of the image's first byte, by the part before the break.
    std::int64_t back = 0;  ///< The same by the part after it. If less, bytes are lost; if more, put in.
};

/// The least gain of a break that nothing else shows.
inline constexpr double kLeastRowGain = 8;

/// Where the two parts meet.
struct RowBreak {
    std::uint64_t at = 0;  ///< The first byte of the image that is not in the front part.
    ImageRange possible{}; ///< From the first place to the last that fits nearly as well.
    /// How much less rows differ than if all were in the front part, or all in the back part, whichever
    /// differ less: in standard deviations.
    double gain = 0;
};

/// Searches the rows [first, last) of an image for the place where rows differ least from those above them:
/// at offsets of the file that are whole sectors from any of some origins, or anywhere if what is lost or put
/// in is no number of sectors. Takes linear time, and 24 bytes for each sixteen samples of the rows.
[[nodiscard]] std::optional<RowBreak> find_row_break(const TornRows& torn, std::uint64_t first,
                                                     std::uint64_t last,
                                                     std::span<const std::uint64_t> origins);

} // namespace raw_mend
