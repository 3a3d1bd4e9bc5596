#pragma once

#include "container/Description.h"
#include "locate/ImageRows.h"
#include "locate/RowPhase.h"

#include <optional>

namespace raw_mend {

/// An intact photograph, and what is measured of it once for all ways to find an image like its own.
struct Sample {
    Bytes file; ///< Must outlive this.
    Description description;
    std::optional<ImageRows> rows; ///< Of the raw image, if they have a fixed length and are all there.
    RowTraits traits;              ///< Of these rows.

    /// Nothing if the file is not understood, or does not hold all of a raw image.
    [[nodiscard]] static std::optional<Sample> read(Bytes file);
};

} // namespace raw_mend
