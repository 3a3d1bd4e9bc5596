#pragma once

#include "jpeg/MarkerSegments.h"

namespace still_mend {

/// The Huffman tables of ITU-T T.81, annex K.3, which most cameras use, and the quantisation tables of annex
/// K.1 as libjpeg scales them for quality 90, which is a guess. Table 0 is for luminance, 1 for chrominance.
[[nodiscard]] Tables standard_tables();

} // namespace still_mend
