#pragma once

#include "fit/Canvas.h"
#include "header/PictureCandidates.h"
#include "jpeg/CoefficientStore.h"

#include <vector>

namespace still_mend {

// The measure for noise. Bits that are read with the wrong tables, or out of step, decode for a while into
// blocks that look possible one by one. But they do not continue the row above: the step across a border is
// then as large as between any two places of the picture. In photographs it is a third of that or less. The
// figures that were measured are in docs/salvage.md.

/// Whether something this rough is not a picture.
[[nodiscard]] bool is_noise(const Canvas::Roughness& roughness);

/// The roughness of the MCUs of several scans that are present.
[[nodiscard]] Canvas::Roughness roughness_of(const PictureCandidate& candidate, const CoefficientStore& store,
                                             const std::vector<bool>& present);

} // namespace still_mend
