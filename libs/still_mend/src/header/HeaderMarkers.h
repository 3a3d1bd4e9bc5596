#pragma once

#include "Bytes.h"

#include <cstdint>
#include <vector>

namespace still_mend {

/// A place that reads as the start of a JPEG or as one of its table and header segments, wherever it stands.
struct HeaderMarker {
    std::size_t offset = 0; ///< Of the FF.
    unsigned char code = 0; ///< SOI, SOF0 to SOF2, DHT, DQT, DRI or SOS.
};

/// All landmarks in the order of the file, found in one pass over every byte. A SOI counts when another
/// plausible segment follows; a segment when all of its content is plausible. Bytes looked at are at most
/// about 17 times the size of the file, and landmarks are at most kMaxLandmarks, whatever the bytes.
[[nodiscard]] std::vector<HeaderMarker> find_header_markers(Bytes file);

inline constexpr std::size_t kMaxHeaderMarkers = 1U << 19U;

} // namespace still_mend
