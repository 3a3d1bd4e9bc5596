#pragma once

#include "fit/Canvas.h"
#include "fit/McuTraces.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace still_mend {

/// MCUs that decoded one after the other and are shown one after the other.
struct Stretch {
    std::size_t first = 0;    ///< Trace.
    std::size_t last = 0;     ///< One after.
    std::size_t position = 0; ///< That of the first.
    std::size_t wide = 1;     ///< MCUs in a row of the picture.
    [[nodiscard]] std::size_t size() const { return last - first; }
};

// Damage begins anywhere in a row. What comes after it then fits what is above neither to the right of that
// place nor, in the next row, to the left of it: for as many MCUs as a row has, in the order of the scan.
// Edges of the picture are not like that, unless they begin with a row. So a seam is a window of one row's
// length that does not begin where a row begins.

/// From this MCU on, the brightness or the colour is off by a constant.
struct LevelJump {
    std::size_t trace = 0;
    Levels change{}; ///< What is to be added to the DC values from there on.
};

/// The jumps of a stretch, in its order: a bit that changed in a DC difference leaves the decoder in step,
/// and all that follows too bright, too dark or of another colour. Where one component jumps, the others are
/// levelled too.
[[nodiscard]] std::vector<LevelJump> find_level_jumps(const McuTraces& traces, const Stretch& stretch);

/// The first trace of a stretch from which a row's length of MCUs does not fit what is above, although what
/// comes before and after does: from there on the places are not certain. damaged: there is damage in it or
/// after it, so that a seam may also begin with a row.
[[nodiscard]] std::optional<std::size_t> find_seam(const McuTraces& traces, const Stretch& stretch,
                                                   bool damaged);

} // namespace still_mend
