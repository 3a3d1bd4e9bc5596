#pragma once

#include "assemble/Splice.h"

#include <optional>
#include <string>
#include <vector>

namespace raw_mend {

/// How the image was found.
enum class Way {
    kOwnTables,  ///< By the damaged file's own tables, which may be displaced.
    kCodedHeads, ///< By the heads of its coded pieces.
    kRows,       ///< By how its rows fit one another.
};

/// A repaired photograph.
struct Repaired {
    Splice file;
    Way way = Way::kOwnTables;
    std::size_t pieces = 0; ///< Of the raw image.
    std::size_t found = 0;  ///< Pieces that have a place.
    std::size_t proved = 0; ///< Pieces that are proved: coded data to their last value; rows only by their place, so
                            ///< that foreign bytes among them are not noticed.
    std::vector<std::string> doubts;
};

/// Repairs a damaged photograph with an intact one from the same camera. Both must outlive the result.
/// Nothing if the sample is not understood, or the damaged file's image is not found.
[[nodiscard]] std::optional<Repaired> repair(Bytes damaged, Bytes sample);

} // namespace raw_mend
