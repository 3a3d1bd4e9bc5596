#pragma once

#include "mend/Filling.h"
#include "ways/FoundImage.h"
#include "ways/Sample.h"

namespace raw_mend {

/// Puts those pieces of an image of lossless JPEGs together anew that are torn apart or lost in part or
/// altogether. Pieces that are proved are left alone. Other images are left as they are.
void mend_streams(Bytes damaged, const Sample& sample, Filling filling, FoundImage& image);

} // namespace raw_mend
