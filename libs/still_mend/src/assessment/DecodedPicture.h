#pragma once

#include "assessment/Assessment.h"
#include "jpeg/CoefficientStore.h"

#include <vector>

namespace still_mend {

/// The coefficients of a picture that was assessed.
struct DecodedPicture {
    CoefficientStore store;
    std::vector<bool> present; ///< By MCU: it was decoded.
};
[[nodiscard]] DecodedPicture decode_picture(Bytes file, const Assessment& assessment);

} // namespace still_mend
