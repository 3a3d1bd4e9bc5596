#pragma once

#include "container/TiffDirectory.h"

#include <vector>

namespace raw_mend {

/// All directories of a photograph built like TIFF, except those in maker notes. Empty for other files.
[[nodiscard]] std::vector<TiffDirectory> list_directories(Bytes file);

} // namespace raw_mend
