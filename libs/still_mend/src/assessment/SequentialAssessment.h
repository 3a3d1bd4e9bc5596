#pragma once

#include "assessment/Assessment.h"

namespace still_mend {

/// Assesses a picture with one scan whose MCUs hold all components: baseline as every camera writes it.
[[nodiscard]] Assessment assess_sequential(Bytes file, const Hypothesis& hypothesis);

} // namespace still_mend
