#pragma once

#include "judge/Image.h"

#include <vector>

namespace plate_mend::host {

/// The image as a baseline JPEG; empty where libjpeg cannot make one.
///
///   quality  1 to 100, as libjpeg has it
[[nodiscard]] std::vector<unsigned char> encode_jpeg(const Image& image, int quality);

} // namespace plate_mend::host
