#pragma once

#include "jpeg/BlockDecoder.h"
#include "progressive/PictureInProgress.h"
#include "progressive/ScanLayout.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace still_mend {

/// The interval that an entropy-coded segment is.
struct IntervalPlace {
    std::uint32_t interval = 0;
    bool sure = true; ///< Nothing else fits nearly as well.
};

/// The places of a scan's segments, in the order of the file, by the numbers of their markers: the first that
/// are possible.
[[nodiscard]] std::vector<IntervalPlace> places_by_number(const ScanLayout& layout);

/// How many intervals are lost besides those that the numbers show, in eights. Where the file ends within the
/// scan they are lost at its end.
[[nodiscard]] std::size_t hidden_eights(const ScanLayout& layout, const std::vector<IntervalPlace>& places,
                                        std::size_t file_end);

/// Moves the segments after hidden losses to where they fit what other scans contained.
///
///   eights    intervals that are lost in all, in eights
///   refining  the scan that refines this one next, if none of its intervals is lost; otherwise null
void place_by_fit(const PictureInProgress& picture, const ScanLayout& layout, BlockDecoder& decoder,
                  std::size_t eights, const ScanSource* refining, std::vector<IntervalPlace>& places);

} // namespace still_mend
