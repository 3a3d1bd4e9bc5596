#pragma once

#include "container/Description.h"

#include <raw_mend/raw_mend.h>

#include <vector>

namespace raw_mend {

/// The previews and thumbnails of a photograph whose data are in the file, in the description's order. One
/// whose strips do not follow each other is listed with its first strip, as a picture of another kind.
[[nodiscard]] std::vector<RawMendPicture> list_pictures(Bytes file, const Description& description);

} // namespace raw_mend
