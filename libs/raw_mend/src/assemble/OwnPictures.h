#pragma once

#include "assemble/Transplant.h"

#include <vector>

namespace raw_mend {

/// Previews of a photograph that survive in its damaged file.
struct OwnPictures {
    std::vector<Replacement> pictures; ///< For the sample's; their bytes are the damaged file's.
    bool is_complete = false; ///< Whether no picture of the sample remains, except inside another one.
};

/// JPEGs outside the image of a damaged file that decode to their end and have the size of one of the
/// sample's. Where there are several, the one whose distance from the image is most like the sample's is
/// taken.
///
///   image  the damaged file's raw image, which is not searched.
[[nodiscard]] OwnPictures find_own_pictures(Bytes damaged, const Description& description,
                                            const Extent& image);

} // namespace raw_mend
