#pragma once

#include "Bytes.h"
#include "jpeg/CoefficientStore.h"
#include "jpeg/MarkerSegments.h"

#include <optional>

namespace still_mend {

/// What libjpeg makes of a JPEG that need not be intact.
struct LenientJpeg {
    Frame frame;               ///< Its quantisation tables are numbered by component.
    Tables tables;             ///< Quantisation alone.
    CoefficientStore store;    ///< Those of every block; those that libjpeg made up as well.
    std::size_t smooth = 0;    ///< MCUs that the first scan gave before libjpeg's first warning.
    std::size_t first_bad = 0; ///< Offset at which libjpeg had arrived before that, about.
    std::size_t end = 0;       ///< One after the last byte that was read.
    bool eoi_found = false;    ///< EOI survives.
};

/// Reads what libjpeg opens, arithmetic coding included, over all its warnings. Where a marker after the
/// data ends libjpeg's work, the data up to it count. Nothing where it gives up, or where the work would
/// exceed a constant times the size. Memory is four bytes per coefficient. Throws std::bad_alloc.
[[nodiscard]] std::optional<LenientJpeg> read_leniently(Bytes jpeg);

} // namespace still_mend
