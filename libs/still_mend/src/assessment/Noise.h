#pragma once

#include "fit/Canvas.h"
#include "header/PictureCandidates.h"
#include "jpeg/CoefficientStore.h"

#include <vector>

namespace still_mend {

// The measure for noise. Bits read with the wrong tables, or out of step, decode for a while into blocks that
// each look possible. What they lack is the link with the row above: the step across a border is then as
// large as between any two places of the picture. In photographs it is a third of that or less. The figures
// that were measured are in docs/salvage.md.

/// Whether what is so rough is no picture.
[[nodiscard]] bool is_noise(const Canvas::Roughness& roughness);

/// The roughness of the MCUs of several scans that are present.
[[nodiscard]] Canvas::Roughness roughness_of(const PictureCandidate& candidate, const CoefficientStore& store,
                                             const std::vector<bool>& present);

} // namespace still_mend
