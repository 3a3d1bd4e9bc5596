#pragma once

#include "files/FileBytes.h"
#include "judge/RawDecoder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Looks in compressed image data for damage that a decoder does not notice: parts of a lossless JPEG that do
/// not end where their image does, and fillers in a CR3. Returns what was found, in words. None of it shows
/// in which row the damage begins.
///
///   decoder  has unpacked the file
///   image    offset of the image data in the file
[[nodiscard]] std::vector<std::string> check_compressed_data(const RawDecoder& decoder, FileBytes& file,
                                                             std::uint64_t image);

} // namespace plate_mend::host
