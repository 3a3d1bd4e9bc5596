#pragma once

#include "container/Description.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace raw_mend {

/// How an image was found.
enum class Way {
    kOwnTables,     ///< By the damaged file's own tables, which may be displaced.
    kCodedHeads,    ///< By the heads of its coded pieces.
    kRows,          ///< By how its rows fit one another.
    kSamplePlaces,  ///< At the places where the sample has its image.
    kTrialDecoding, ///< By decoding from place to place until the data decoded to their end.
};

/// Bytes of a damaged file that belong where the sample has others: a further raw image, a preview, metadata.
struct Substitute {
    Extent in_sample;
    Extent in_damaged;
};

/// A piece that was put together anew, because its bytes are torn apart in the damaged file or some are lost.
struct MendedPiece {
    std::size_t piece = 0;            ///< Of the raw image.
    std::vector<unsigned char> bytes; ///< All that the result has in its place.
};

/// Where a damaged file has its raw image.
struct FoundImage {
    Way way = Way::kOwnTables;
    std::vector<std::optional<Extent>> pieces; ///< Of the sample's raw image, in its order.
    /// Pieces that are proved: coded data to their last value; those that cannot be decoded here (lossy CR3,
    /// compressed RAF) by their head and by what follows them; rows by their place, without any cluster that
    /// is clearly foreign; mended ones if all of their values are the photograph's own.
    std::size_t proved = 0;
    std::vector<std::string> doubts;
    /// What else was found. Each is for all bytes of one piece of a picture or of metadata.
    std::vector<Substitute> others{};
    /// By piece, each once. For these, `pieces` says where they were, from their first byte to their last.
    std::vector<MendedPiece> mended{};
    /// Pixels that are not the photograph's own: filled from others, or zero. They do not overlap.
    std::vector<Area> lost{};
    /// Pixels that may be another's or at the wrong level: nothing proves them. Neither do these.
    std::vector<Area> doubtful{};

    /// Of an image of one piece that is not proved: other places where a stream of its kind begins, each up
    /// to where the last of them seems to end. Not too many.
    std::vector<Extent> rivals{};

    [[nodiscard]] std::size_t count_found() const;
};

} // namespace raw_mend
