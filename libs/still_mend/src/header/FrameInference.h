#pragma once

#include "header/Hypothesis.h"

#include <optional>

namespace still_mend {

/// The size of a picture whose frame header is lost, from its data: the width at which its rows fit one
/// another, and the height from the number of MCUs, or from the proportions of the frame that the hypothesis
/// borrowed where the head or the end of the data is lost. Nothing where no width fits clearly better than
/// others. Sampling and tables are those of the hypothesis, which must not be of several scans.
[[nodiscard]] std::optional<Frame> infer_frame(Bytes file, const Hypothesis& hypothesis);

} // namespace still_mend
