#pragma once

#include "locate/CodedHeads.h"
#include "locate/EntropyData.h"

#include <string>

namespace raw_mend {

/// The place that holds a piece.
struct PiecePlace {
    std::size_t place = 0; ///< Index in the places.
    /// Whether the piece's index is certain: by an unbroken row, by counting those that are missing, or by
    /// its frame.
    bool certain = false;
};

/// Which places hold the raw image.
struct CodedRow {
    std::vector<std::optional<PiecePlace>>
        pieces;                      ///< In the order of the container's lists; nothing: not found.
    std::vector<std::size_t> unused; ///< Places of none: remains of other photographs.
    /// What survives of streams without a head between, before and after the places.
    std::vector<EntropyData> headless;
    std::vector<std::string> doubts; ///< Sentences; none if every index is certain.

    [[nodiscard]] std::size_t found() const; ///< Pieces that have a place.
};

/// Whether a stream begins where the sample's spacing allows the next one after a stream.
[[nodiscard]] bool is_next(const CodedPlace& place, const CodedPlace& next, const CodedSample& sample);

/// The doubt that some streams' indices are not certain. At least one is not.
[[nodiscard]] std::string describe_uncertain(std::size_t uncertain, std::size_t streams);

/// Chooses the places for the sample's number of pieces. An unbroken row of that many, with the sample's
/// spacing, is preferred; several such rows are a doubt, and the one that ends as far before the end of the
/// file as in the sample is chosen, or, if there are several or none, the one with the most proved streams,
/// and of equal ones that nearest to the sample's offset. With fewer places, each gets the index that the
/// bytes between them allow.
[[nodiscard]] CodedRow choose_row(Bytes damaged, const std::vector<CodedPlace>& places,
                                  const CodedSample& sample);

} // namespace raw_mend
