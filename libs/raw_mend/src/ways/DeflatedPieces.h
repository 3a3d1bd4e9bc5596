#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// The deflated strips or tiles of an image: zlib streams that are complete, with as many bytes of data as
/// the sample's. Of those that are lost, pixels are zero if others are found. Nothing if a stream of the
/// sample is not complete.
[[nodiscard]] std::optional<FoundImage> find_deflated_pieces(Bytes damaged, const Sample& sample);

/// Whether all pieces of a file's deflated image are complete streams with as many bytes of data as the
/// sample's.
[[nodiscard]] bool has_whole_deflated_pieces(Bytes file, const Image& image, const Sample& sample);

} // namespace raw_mend
