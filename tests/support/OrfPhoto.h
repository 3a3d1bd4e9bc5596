#pragma once

#include "support/StripPhoto.h"

namespace test {

using OrfOptions = StripPhotoOptions;
using OrfPhoto = StripPhoto;

/// An Olympus ORF. LibRaw decodes both byte orders.
///
///   header   IFD 0 and its values   Exif IFD   thumbnail   preview   raw image
///
/// Both pictures are JPEGs that begin with FF D8 FF DB, without a JFIF segment, as this maker's cameras write
/// them; no tag names them. The raw image is one strip of 12-bit samples without compression, packed into
/// 32-bit words: the first sample is in the highest bits of word 0, and each word is stored least
/// significant byte first, whatever the file's byte order.
[[nodiscard]] OrfPhoto make_orf(const OrfOptions& options = {});

} // namespace test
