#pragma once

#include "assemble/Splice.h"
#include "mend/Filling.h"
#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// A repaired photograph.
struct Repaired {
    std::optional<Splice> file; ///< Nothing if the sample's tables have no room for the image.
    FoundImage image;
    bool own_metadata = true; ///< Whether directories and their values are all the damaged file's.
    bool own_pictures = true; ///< Likewise previews.
};

/// Repairs a damaged photograph with an intact one from the same camera. Both must outlive the result.
/// Nothing if no piece of the damaged file's image is found, nor anything else that the camera keeps beside
/// it.
///
///   filling  what becomes of pixels that are lost inside the image
[[nodiscard]] std::optional<Repaired> repair(Bytes damaged, const Sample& sample,
                                             Filling filling = Filling::kNeighbours);

} // namespace raw_mend
