#pragma once

#include "metadata/MetadataBlock.h"
#include "record/CameraFacts.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace plate_mend::host {

/// Where a damaged file has the image of the repaired photograph.
struct ImagePlace {
    std::uint64_t offset = 0;
    bool is_exact = false; ///< Otherwise the image begins there or up to 64 KiB later.
};

/// Whether the JPEG at an offset of the damaged file shows the repaired photograph; false for one that shows
/// another; nothing where that cannot be decided.
using ShowsPhotograph = std::function<std::optional<bool>(std::uint64_t jpeg)>;

/// The metadata that are the repaired photograph's own; nothing where none are for certain.
///
/// A damaged file may hold metadata of other photographs. Those are the photograph's own whose tables lead to
/// its image, or whose preview shows it; if several of these have different dates, none are. Without such a
/// proof, all dates in the file must be the same, and theirs must be before the image, with no preview that
/// shows another photograph and no tables of a raw image elsewhere. Metadata without a date need a proof of
/// their own.
[[nodiscard]] std::optional<OwnMetadata> choose_own_metadata(const std::vector<MetadataBlock>& blocks,
                                                             const std::optional<ImagePlace>& image,
                                                             const ShowsPhotograph& shows_photograph);

} // namespace plate_mend::host
