#pragma once

#include "header/PictureCandidates.h"

namespace still_mend {

/// A candidate whose header is complete, perhaps with borrowed parts.
struct Hypothesis {
    PictureCandidate candidate;   ///< With frame, scan and all tables.
    bool from_start = true;       ///< Its first byte of entropy-coded data is that of the first MCU.
    bool tables_borrowed = false; ///< From a sibling.
    bool tables_standard = false;
    bool frame_borrowed = false; ///< From a sibling.
    bool from_sample = false;    ///< The sibling is in the sample.
    bool quant_guessed = false;  ///< Some quantisation is that of another file, or a guess.

    /// Whether brightness, colour or contrast is only an estimate: no MCU is claimed. A restart sets the
    /// level anew.
    [[nodiscard]] bool is_estimated() const {
        return quant_guessed || (!from_start && candidate.tables.restart_interval == 0);
    }

    /// The tables to decode with. Where those of the picture are not known, quantisation excludes nothing:
    /// its tables may be larger than those that were borrowed, and then coefficients are smaller.
    [[nodiscard]] Tables decoding_tables() const;
};

} // namespace still_mend
