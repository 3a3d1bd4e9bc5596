#pragma once

#include "judge/PixelSigns.h"

#include <cstddef>
#include <optional>

namespace plate_mend::host {

/// What a judgement found about the rows of a picture.
struct RowEvidence {
    const PixelSigns& signs;
    /// Rows of the picture for which there are bytes, where each takes the same number; nothing elsewhere.
    std::optional<double> rows_there = std::nullopt;
    bool data_errors = false;   ///< LibRaw counted some.
    bool place_unknown = false; ///< Something is wrong, and nothing shows from which row on.
    bool lost_inside = false;   ///< Bytes are missing, but perhaps not at the end.
    bool filled = false;        ///< Zeros at the end stand in for lost bytes.
};

/// The share of rows without a sign of damage, 0 to 1; nothing when it is unknown. Everything after a
/// displacement is in doubt. In compressed data everything is in doubt after any sign, since damage shows
/// late there.
[[nodiscard]] std::optional<double> share_of_good_rows(const RowEvidence& evidence);

} // namespace plate_mend::host
