#pragma once

#include "mend/StreamWalk.h"

#include <lossless_jpeg/Head.h>

namespace raw_mend {

/// A stream with this head: its bytes before the place bit for bit, then the values from there on, encoded
/// anew. Values that no code is for become the nearest that have one, and those below 0 or above what an
/// encoder of up to 15 bits writes are clamped.
[[nodiscard]] std::vector<unsigned char> encode_values(const lossless_jpeg::Head& head, Bytes stream,
                                                       const StreamPlace& place,
                                                       std::span<std::uint16_t> values);

} // namespace raw_mend
