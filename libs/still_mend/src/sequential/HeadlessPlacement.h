#pragma once

#include "sequential/Placement.h"
#include "sequential/Survey.h"

#include <vector>

namespace still_mend {

/// Gives the MCUs of a scan without restarts whose beginning is lost their places: the last MCU before EOI is
/// the last of the picture, and those before it are counted back from there, as far as the data decode in
/// step. None where EOI is lost too. Brightness and colour are unknown by a constant, which is estimated, so
/// that no place is sure.
[[nodiscard]] std::vector<Placement> place_headless(const ScanData& data, const Survey& survey,
                                                    Canvas& canvas);

/// What to add to the DC values of MCUs that decoded in step from an unknown level, so that they are what a
/// camera takes: within the range of 8 bits, white where the brightest areas are flat because they are
/// overexposed, and otherwise of medium brightness; neutral where they are white, and otherwise on average.
[[nodiscard]] Levels estimate_level(const McuTraces& traces, std::size_t first, std::size_t last);

} // namespace still_mend
