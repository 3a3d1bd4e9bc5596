#pragma once

#include "Bytes.h"

#include <cstdint>
#include <vector>

namespace still_mend {

/// A place that reads as the start of a JPEG or as one of its table and header segments, wherever it is.
struct HeaderMarker {
    std::size_t offset = 0; ///< That of the FF.
    unsigned char code = 0; ///< SOI, SOF0 to SOF2, DHT, DQT, DRI or SOS.
};

/// All header markers in the order of the file, found in one pass over every byte. A SOI counts when another
/// plausible segment follows; a segment when all of its content is plausible. At most about 17 times the size
/// of the file is read, and the header markers are at most kMaxLandmarks, whatever the bytes.
[[nodiscard]] std::vector<HeaderMarker> find_header_markers(Bytes file);

inline constexpr std::size_t kMaxHeaderMarkers = 1U << 19U;

} // namespace still_mend
