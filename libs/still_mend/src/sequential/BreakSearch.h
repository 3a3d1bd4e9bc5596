#pragma once

#include "sequential/RunPart.h"
#include "sequential/Survey.h"

#include <vector>

namespace still_mend {

/// Whether a run stays where it is from its first MCU to its last: it begins the scan, and nothing proves
/// that it slipped, as an end with some MCUs too many or too few does. Edges in a picture look like damage,
/// so looks alone do not show where the first damage is.
[[nodiscard]] bool is_in_place(const Run& run, std::size_t total);

/// Takes the runs apart where noise begins and ends. Damage need not lead to an error: the decoder often
/// falls into step again by itself, some MCUs too early or too late. wide and total are those of the picture,
/// in MCUs; typical is its usual step to the right. The parts are in the order of the file, at most 512.
[[nodiscard]] std::vector<RunPart> find_unbroken_parts(const Survey& survey, std::size_t wide,
                                                       std::size_t total, double typical);

} // namespace still_mend
