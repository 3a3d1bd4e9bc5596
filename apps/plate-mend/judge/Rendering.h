#pragma once

#include "judge/Image.h"

class LibRaw;

namespace plate_mend::host {

/// Renders unpacked sensor data in half size with the camera's white balance. An image without pixels where
/// the data cannot be rendered.
///
///   upright  turned as the file says; otherwise as the sensor has it
[[nodiscard]] Image render(LibRaw& unpacked, bool upright);

} // namespace plate_mend::host
