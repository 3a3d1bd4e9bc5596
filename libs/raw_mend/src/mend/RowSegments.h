#pragma once

#include "locate/PhasePieces.h"
#include "mend/RowBreak.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace raw_mend {

/// A part of an image, and where it is.
struct RowSegment {
    ImageRange image;
    std::int64_t start = 0; ///< Offset at which the image would begin if all of it were so.
};

/// A torn image: its parts in order, what is between them lost.
struct RowSegments {
    std::vector<RowSegment> segments;
    /// Where nothing shows which of two parts the bytes belong to, and parts whose place may be wrong by some
    /// rows. May overlap.
    std::vector<ImageRange> doubtful;
    /// The least RowBreak::gain of all breaks; 0 if there is none.
    double gain = 0;
};

/// What is known of a torn image.
struct RowAnchors {
    std::int64_t front = 0;             ///< Where it begins, by its first bytes.
    std::optional<std::int64_t> back;   ///< The same by its last bytes, if the file may end as intended.
    std::vector<std::uint64_t> origins; ///< Offsets from which sectors may be counted.
};

/// Puts an image together from its pieces of different phases. Searches between each two of them once, and
/// after the last.
[[nodiscard]] RowSegments find_row_segments(Bytes file, const RowGeometry& geometry,
                                            std::span<const PhasePiece> pieces, const RowAnchors& anchors);

} // namespace raw_mend
