#pragma once

#include "assemble/Transplant.h"

#include <vector>

namespace raw_mend {

/// Metadata of a photograph that survive in its damaged file.
struct OwnMetadata {
    std::vector<Replacement> tables; ///< For the sample's; their bytes are the damaged file's.
    bool is_complete = false;        ///< Whether no metadata of the sample's directories remain.
};

/// Directories like the sample's (TIFF 6.0, Exif) outside the image of a damaged file, and their values. A
/// directory is taken if it has the sample's entries, of the same types and counts, with their values at the
/// same places, and describes images of the same geometry; a value, if the sectors that hold it resemble the
/// sample's. None for other containers.
///
///   image  the damaged file's raw image, which is not searched. The tables nearest to it are taken.
[[nodiscard]] OwnMetadata find_own_metadata(Bytes damaged, Bytes sample, const Description& description,
                                            const Extent& image);

} // namespace raw_mend
