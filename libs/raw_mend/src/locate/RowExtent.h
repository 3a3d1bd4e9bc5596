#pragma once

#include "Bytes.h"
#include "locate/PhasePieces.h"
#include "locate/RowGeometry.h"
#include "locate/RowPhase.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// What an intact sample from the same camera tells about the place of its image.
struct SamplePlace {
    std::optional<std::uint64_t> start;       ///< Offset of the image.
    std::optional<std::uint64_t> bytes_after; ///< From the image's end to the end of the file.
};

/// What proves the place of an image.
enum class PlaceProof {
    kEnd,         ///< It ends as far before the end of the file as the sample's, which agrees with the phase.
    kBothEdges,   ///< As many rows as the image has lie between two sharp edges.
    kSampleStart, ///< It begins with a sharp edge at the offset of the sample's image.
    kNone,        ///< Doubtful: the place is where its first or last row seems to be.
};

/// Where an image is in a file.
struct ImagePlace {
    std::int64_t start = 0; ///< Offset of its first byte; less than 0 if its first rows are lost.
    std::uint64_t phase = 0;
    std::uint64_t picture_begin = 0; ///< Offset of the first row that fits the rows after it.
    std::uint64_t picture_end = 0;   ///< Where the last row that fits those before it ends.
    PlaceProof proof = PlaceProof::kNone;

    [[nodiscard]] bool is_doubtful() const { return proof == PlaceProof::kNone; }
    bool operator==(const ImagePlace&) const = default;
};

/// What is in a file of a given geometry.
struct RowExtent {
    std::vector<PhasePiece> pieces;
    std::vector<ImagePlace>
        images; ///< By offset. One per phase, or several if its rows are too many for one.
};

/// Finds all images of a geometry. None if the geometry is not supported() or no phase is clear.
[[nodiscard]] RowExtent find_row_extent(Bytes file, const RowGeometry& geometry, const RowTraits& traits = {},
                                        const SamplePlace& sample = {});

} // namespace raw_mend
