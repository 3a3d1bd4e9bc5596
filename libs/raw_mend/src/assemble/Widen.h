#pragma once

#include "container/Description.h"
#include "ways/FoundImage.h"

#include <optional>
#include <vector>

namespace raw_mend {

/// A description whose raw image has further pieces, which were those of pictures or metadata, and where all
/// its pieces are in another file.
struct Widened {
    Description description;
    std::vector<std::optional<Extent>> pieces;
};

/// Moves what is to be replaced besides the raw image to its pieces, so that all of it is transplanted.
/// Substitutes for what is no piece are left out.
[[nodiscard]] Widened widen(const Description& description, const FoundImage& image);

} // namespace raw_mend
