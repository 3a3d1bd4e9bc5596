#pragma once

#include "metadata/ExifValues.h"
#include "record/CameraFacts.h"

#include <byte_reader/ByteReader.h>

#include <vector>

namespace plate_mend::host {

/// Whether these entries are those of a GPS directory, for one that no other directory leads to.
[[nodiscard]] bool is_gps_directory(const std::vector<ExifEntry>& entries);

/// Place and time of a GPS directory (Exif 2.3); nothing of one that says it had no reception.
[[nodiscard]] CameraFacts read_gps(const byte_reader::ByteReader& file,
                                   const std::vector<ExifEntry>& entries);

} // namespace plate_mend::host
