#pragma once

#include "assemble/Splice.h"

#include <optional>
#include <span>

namespace raw_mend {

/// The structure of a sample around the raw image of another file. The pieces are those of the sample's raw
/// image, in its order: where each is in the other file, or nothing for one that is lost, in whose place are
/// zeros. All offsets and lengths in the result are those of what was put in. What is between two pieces is
/// kept as it is in the other file, if it is only padding in the sample and the pieces follow each other in
/// both.
///
/// The description is the sample's, and both files must outlive the result. Nothing if the number of pieces
/// is another, a piece is outside the other file, raw pieces of the sample overlap one another or other
/// parts, or a number has no room in its field.
[[nodiscard]] std::optional<Splice> transplant(Bytes sample, const Description& description, Bytes other,
                                               std::span<const std::optional<Extent>> pieces);

} // namespace raw_mend
