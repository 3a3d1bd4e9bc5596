#pragma once

#include "support/StripPhoto.h"

namespace test {

using Sr2Options = StripPhotoOptions;
using Sr2Photo = StripPhoto;

/// A Sony SR2. LibRaw decodes both byte orders.
///
///   header   IFD 0   IFD 1   Sub IFD   (each with its values)   preview   thumbnail   raw image
///
/// IFD 0 names the preview, IFD 1 the thumbnail. In the Sub IFD, Orientation and SamplesPerPixel are between
/// StripOffsets and RowsPerStrip. The raw image is one strip of 16-bit samples without compression, in the
/// file's byte order.
[[nodiscard]] Sr2Photo make_sr2(const Sr2Options& options = {});

} // namespace test
