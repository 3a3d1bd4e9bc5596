#pragma once

#include "Bytes.h"

#include <cstdint>
#include <optional>

namespace raw_mend {

/// Where the JPEG that begins at an offset ends: after its EOI. Nothing if there is none, or a marker is not
/// one that may follow. Reads each byte up to the end at most once.
[[nodiscard]] std::optional<std::uint64_t> find_jpeg_end(Bytes bytes, std::uint64_t offset);

} // namespace raw_mend
