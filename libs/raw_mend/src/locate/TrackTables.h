#pragma once

#include "Bytes.h"

#include <cstdint>
#include <vector>

namespace raw_mend {

/// What the tables of a CR3 track state about its first sample.
struct TrackTable {
    std::uint64_t offset = 0; ///< Of the sample, in the file as it was.
    std::uint64_t length = 0;
};

/// All pairs of "stsz" and "co64" or "stco" that survive in a damaged file, in order, whatever is left of the
/// boxes around them. Reads each byte a bounded number of times.
[[nodiscard]] std::vector<TrackTable> find_track_tables(Bytes damaged);

/// Where boxes of media data that survive in a damaged file begin and end: after their headers, and as those
/// state. In order.
struct MediaBox {
    std::uint64_t begin = 0;
    std::uint64_t end = 0; ///< May be after the end of the file.
};
[[nodiscard]] std::vector<MediaBox> find_media_boxes(Bytes damaged);

} // namespace raw_mend
