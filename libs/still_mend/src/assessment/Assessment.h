#pragma once

#include "header/Hypothesis.h"
#include "jpeg/Bits.h"
#include "sequential/Placement.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace still_mend {

/// MCUs of a sequential scan that go to one place.
struct PlacedRun {
    BitReader start;
    bool dc_known = true;
    Placement placement;
};

/// What decodes under a hypothesis and holds together as a picture.
struct Assessment {
    Hypothesis hypothesis;
    bool intact = false;     ///< libjpeg decodes it without a warning: it is kept as it is.
    bool by_libjpeg = false; ///< Only libjpeg reads it. None of its MCUs count as own.
    bool multi_scan = false;
    std::vector<PlacedRun> runs; ///< For a sequential picture with one scan.
    std::size_t total = 0;       ///< MCUs.
    std::size_t own = 0;         ///< MCUs that were decoded and have their place.
    std::size_t guessed = 0;     ///< MCUs that were decoded and whose place is not sure. Not part of own.
    std::size_t coarse = 0;      ///< How many of own lack some of their detail.
    bool whole = false;          ///< All MCUs, from the first bit to the last.
    bool eoi_found = false;      ///< EOI survives.
    bool interval_inferred = false;
    bool resynchronised = false; ///< Some MCUs were found again after damage without a restart.
    bool noise = false;          ///< What decoded is not a picture.
    std::size_t end = 0;         ///< One after the last byte of the picture, EOI included.
    std::size_t first_bad = 0;   ///< About where it is damaged, unless it is whole.

    /// The pixels that are the photographer's own: what candidates are ranked by. Those whose place or level
    /// is not certain count half.
    [[nodiscard]] std::uint64_t score() const;
    /// Too little, or noise.
    [[nodiscard]] bool deliverable() const;
};

/// Reads the data once or twice and judges what they hold. Takes the memory of one picture for a picture of
/// several scans, and about half a byte per pixel otherwise.
[[nodiscard]] Assessment assess(Bytes file, const Hypothesis& hypothesis);

} // namespace still_mend
