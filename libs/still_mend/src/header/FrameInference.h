#pragma once

#include "header/Hypothesis.h"

#include <optional>

namespace still_mend {

/// A frame, and how well the data fit it.
struct InferredFrame {
    Frame frame;
    std::size_t mcus = 0;  ///< That decode one after the other.
    std::size_t bytes = 0; ///< About those of these MCUs.
    double step = 0;       ///< Mean step from a row of them to the next, in sixteenths of a level.
};

/// The size of a picture whose frame header is lost, from its data: the width at which its rows fit one
/// another, and the height from the number of MCUs, or from the proportions of the frame that the hypothesis
/// borrowed where the head or the end of the data is lost; if that has no size, the usual proportions that
/// agree best with the bytes before the data. Nothing where no width fits clearly better than
/// others. Sampling and tables are those of the hypothesis, which must not be of several scans.
[[nodiscard]] std::optional<InferredFrame> infer_frame(Bytes file, const Hypothesis& hypothesis);

} // namespace still_mend
