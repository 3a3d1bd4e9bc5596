#pragma once

#include "assemble/Splice.h"

#include <optional>
#include <span>

namespace raw_mend {

/// Other bytes for a part of the sample: a picture, metadata, a table, or a piece of the raw image.
struct Replacement {
    Extent extent; ///< In the sample. Not empty.
    Bytes bytes;   ///< For a table, exactly as many; for a piece of the raw image, as many as it now has.
};

/// The structure of a sample around the raw image of another file. The pieces are those of the sample's raw
/// image, in its order: where each is in the other file, or nothing for one that is lost, in whose place are
/// zeros. All offsets and lengths in the result are those of what was put in. What is between two pieces is
/// kept as it is in the other file, if it is only padding in the sample and the pieces follow each other in
/// both. Zeros follow a replacement that is shorter than what it replaces, so that nothing after it moves,
/// unless it replaces a piece of the raw image.
///
/// The description is the sample's, and all bytes must outlive the result. Nothing if the number of pieces
/// is another, a piece is outside the other file, raw pieces of the sample or replaced parts overlap one
/// another or other parts, a field is in a raw piece, or a number has no room in its field.
[[nodiscard]] std::optional<Splice> transplant(Bytes sample, const Description& description, Bytes other,
                                               std::span<const std::optional<Extent>> pieces,
                                               std::span<const Replacement> replacements = {});

/// A photograph in which some parts are replaced, as above.
[[nodiscard]] std::optional<Splice> replace(Bytes file, const Description& description,
                                            std::span<const Replacement> replacements);

} // namespace raw_mend
