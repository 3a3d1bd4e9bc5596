#pragma once

#include "locate/ByteRange.h"
#include "mend/StreamRepair.h"

#include <optional>

namespace raw_mend {

/// Puts a stream together of which only the end survives. Values are counted from the last one, which EOI
/// follows; their levels are those at which the masked columns have the sample's. All that survives is
/// doubtful, since the black level may have been another. Nothing if these columns are not masked in it: then
/// it is no stream of this camera.
///
///   data    entropy-coded data, up to and with EOI
///   sample  a file with a like stream, which begins with this head and has these traits
[[nodiscard]] std::optional<RepairedStream> mend_tail(Bytes damaged, const ByteRange& data, Bytes sample,
                                                      const lossless_jpeg::Head& sample_head,
                                                      const StreamTraits& traits, Filling filling);

} // namespace raw_mend
