#pragma once

#include "mend/Filling.h"
#include "ways/FoundImage.h"
#include "ways/Sample.h"

namespace raw_mend {

/// Puts those pieces of an image of lossless JPEGs together anew that are torn apart or lost in part or
/// altogether, or of which clusters were exchanged. All others are left as they are, and so are other images.
void mend_streams(Bytes damaged, const Sample& sample, Filling filling, FoundImage& image);

/// Whether mend_streams() would put one of these pieces together anew although all are complete: clusters of
/// it were exchanged, or no encoder writes its values. There are as many as in the sample.
[[nodiscard]] bool has_refuted_streams(Bytes damaged, const Sample& sample,
                                       const std::vector<Extent>& pieces);

} // namespace raw_mend
