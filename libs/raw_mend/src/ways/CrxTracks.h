#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// The image of a CR3, found by the headers of its tracks; with it, the tracks beside it. A piece is proved
/// if its headers' lengths agree, and add up to where what follows it begins, or to the length in a surviving
/// table. Nothing if the sample is no such, or no track is found. If only other tracks are found, the pieces
/// of the image are lost.
[[nodiscard]] std::optional<FoundImage> find_crx_tracks(Bytes damaged, const Sample& sample);

/// Whether a file's own tables lead to tracks like the sample's in an mdat, to raw images that end where
/// these state, and to metadata whose records do.
[[nodiscard]] bool has_whole_crx_tracks(Bytes file, const Description& own, const Sample& sample);

} // namespace raw_mend
