#pragma once

#include "record/Record.h"

#include <filesystem>

namespace plate_mend::host {

inline constexpr unsigned char kMaskOwn = 0;
inline constexpr unsigned char kMaskDoubtful = 128;
inline constexpr unsigned char kMaskLost = 255;

/// Writes which pixels of an image are lost or doubtful to a new file: a PNG of 8-bit grey with a pixel for
/// each pixel of the raw image's frame. Returns false, and writes nothing, where the size of the frame is not
/// known. Throws std::system_error and std::bad_alloc.
[[nodiscard]] bool write_mask(const FoundImage& image, const std::filesystem::path& file);

} // namespace plate_mend::host
