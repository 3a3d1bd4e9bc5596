#pragma once

#include "facts/FilePages.h"
#include "facts/PhotographFacts.h"

#include <cstdint>
#include <optional>
#include <span>

namespace plate_mend::host {

/// Adds the quantisation tables of a DQT segment, if its bytes can be nothing else.
///
///   | FF DB | length (2) | then per table: | precision, number (4 bits each) | 64 steps, 1 or 2 bytes each |
///
///   bytes  from the marker on, to the end of the segment or further
void add_quantisation(std::span<const unsigned char> bytes, PhotographFacts& facts);

/// Adds the size and the subsampling of a frame: SOF0 to SOF3. The lossless ones (SOF3) are raw images, whose
/// factors are no subsampling.
///
///   | FF Cn | length (2) | precision (1) | height (2) | width (2) | components (1) | 3 per component |
///
///   bytes  from the marker on, to the end of the segment or further
void add_frame(std::span<const unsigned char> bytes, PhotographFacts& facts);

/// Adds tables and frame of a JPEG by its segments up to its scan. Returns the offset of the TIFF structure
/// of its Exif data; nothing if there is none, or no JPEG.
std::optional<std::uint64_t> add_jpeg_head(FilePages& file, std::uint64_t jpeg, PhotographFacts& facts);

} // namespace plate_mend::host
