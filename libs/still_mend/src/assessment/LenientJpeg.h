#pragma once

#include "Bytes.h"
#include "jpeg/CoefficientStore.h"
#include "jpeg/MarkerSegments.h"

#include <optional>

namespace still_mend {

/// What libjpeg reads from a JPEG that need not be intact.
struct LenientJpeg {
    Frame frame;               ///< Its quantisation tables are numbered by component.
    Tables tables;             ///< Quantisation only.
    CoefficientStore store;    ///< The coefficients of every block, including those that libjpeg made up.
    std::size_t smooth = 0;    ///< MCUs that the first scan yielded before libjpeg's first warning.
    std::size_t first_bad = 0; ///< Approximate offset that libjpeg had reached before that.
    std::size_t end = 0;       ///< One after the last byte that was read.
    bool eoi_found = false;    ///< EOI survives.
};

/// Reads whatever libjpeg opens, including arithmetic coding, despite any warnings. If a marker after the
/// data stops libjpeg, the data up to it count. Nothing if libjpeg gives up, or if the work would exceed a
/// constant times the size. Memory is four bytes per coefficient. Throws std::bad_alloc.
[[nodiscard]] std::optional<LenientJpeg> read_leniently(Bytes jpeg);

} // namespace still_mend
