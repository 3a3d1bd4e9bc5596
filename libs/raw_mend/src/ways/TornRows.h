#pragma once

#include "mend/Filling.h"
#include "ways/FoundImage.h"
#include "ways/OwnTables.h"
#include "ways/Sample.h"

#include <cstdint>
#include <optional>

namespace raw_mend {

/// An image whose rows have a fixed length, put together from a file in which clusters of it are lost, put in
/// or overwritten.
struct MendedRows {
    FoundImage image; ///< All pieces are mended.
    /// If the file's own tables are kept: where its structure begins in the damaged file, what follows the
    /// image there, and where that is.
    struct Own {
        Extent before;
        Extent after;
    };
    std::optional<Own> own;
};

/// Nothing if the sample's image is not such, or has a twin, if no place of the image is clear, or if nothing
/// shows that it is damaged. The own structure is what find_own_structure() returned.
[[nodiscard]] std::optional<MendedRows>
mend_torn_rows(Bytes damaged, const Sample& sample, const std::optional<OwnStructure>& own, Filling filling);

} // namespace raw_mend
