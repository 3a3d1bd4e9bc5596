#pragma once

#include "container/Description.h"
#include "ways/FoundImage.h"

#include <raw_mend/raw_mend.h>

#include <cstdint>
#include <vector>

namespace raw_mend {

/// What of a raw image is lost or doubtful.
struct Account {
    std::uint64_t pixels = 0;   ///< Of the frame.
    std::uint64_t lost = 0;     ///< Pixels that are not the photograph's own.
    std::uint64_t doubtful = 0; ///< Pixels that may be another's or at the wrong level. None is lost, too.
    /// Rectangles within the frame, from top to bottom, the lost ones first: at most RAW_MEND_MOST_AREAS.
    /// They cover all of these pixels, and others too where there were more rectangles than that.
    std::vector<RawMendArea> areas;
};

/// The account of an image: its lost and doubtful areas, and all of each piece that was neither found nor
/// mended. Where nothing says which pixels such a piece has, all are lost.
///
///   raw  the raw image that it is built like
[[nodiscard]] Account account_for(const FoundImage& image, const Image& raw);

} // namespace raw_mend
