#pragma once

#include "assemble/Transplant.h"
#include "container/Description.h"

#include <raw_mend/raw_mend.h>

#include <optional>
#include <span>
#include <vector>

namespace raw_mend {

/// The previews and thumbnails of a photograph whose data are in the file, in the description's order. One
/// whose strips do not follow each other is listed with its first strip, as a picture of another kind.
[[nodiscard]] std::vector<RawMendPicture> list_pictures(Bytes file, const Description& description);

/// What replaces the pictures of a file's list by the data given for them, which must outlive the result. The
/// Exif of a JPEG is kept if the new one has none: in a RAF, it names the camera. A picture inside another
/// one is left out if that one replaces it too, or it would become longer. Nothing if the data cannot replace
/// a picture, or there are more or fewer of them than pictures.
[[nodiscard]] std::optional<std::vector<Replacement>>
replacements_of(Bytes file, std::span<const RawMendPicture> pictures,
                std::span<const RawMendPictureData> data);

} // namespace raw_mend
