#pragma once

#include "files/FileBytes.h"
#include "judge/RawDecoder.h"
#include "judge/signs/Sign.h"

#include <cstdint>

namespace plate_mend::host {

/// Rows of Sony's cells of 16 bytes in which one is of a kind that no camera writes: its least sample is
/// above its greatest, another one is, or both have one place. Of random cells nearly all are. None where the
/// image is coded otherwise.
///
///   image  offset of the image data in the file
[[nodiscard]] Sign find_broken_cells(const RawDecoder& decoder, FileBytes& file, std::uint64_t image);

} // namespace plate_mend::host
