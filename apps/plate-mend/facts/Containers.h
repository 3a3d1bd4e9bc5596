#pragma once

#include "facts/FilePages.h"
#include "facts/PhotographFacts.h"

#include <cstdint>

namespace plate_mend::host {

/// Adds what the structure of a photograph says that begins with the file: built like TIFF, RAF or CR3.
/// Returns whether there is such a structure.
bool add_photograph(FilePages& file, PhotographFacts& facts);

/// Adds what the header of a RAF at an offset says: camera, and the JPEG with its Exif data.
void add_raf(FilePages& file, std::uint64_t header, PhotographFacts& facts);

} // namespace plate_mend::host
