#pragma once

#include "mend/Filling.h"
#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// An image that is one lossless JPEG whose head is lost, and its beginning with it: what survives of its
/// end. Nothing if the sample's image is not such or shows no masked columns, or if no such end is found.
[[nodiscard]] std::optional<FoundImage> find_stream_tail(Bytes damaged, const Sample& sample,
                                                         Filling filling);

} // namespace raw_mend
