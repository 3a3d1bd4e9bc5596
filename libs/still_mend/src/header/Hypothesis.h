#pragma once

#include "header/PictureCandidates.h"

namespace still_mend {

/// A candidate whose header is complete, perhaps with borrowed parts.
struct Hypothesis {
    PictureCandidate candidate;   ///< With frame, scan and all tables.
    bool from_start = true;       ///< Its first byte of entropy-coded data is that of the first MCU.
    bool tables_borrowed = false; ///< From a sibling.
    bool tables_standard = false;
    bool frame_borrowed = false;
};

} // namespace still_mend
