#pragma once

#include "container/Description.h"

#include <optional>

namespace raw_mend {

/// Describes a photograph by its content: a TIFF structure (DNG, CR2, NEF, ARW, SR2, ORF, PEF, RW2 and
/// others), a RAF, or boxes (CR3). Nothing for other files. Whatever the bytes are, takes linear time,
/// allocates at most a constant times their number, and throws only std::bad_alloc.
[[nodiscard]] std::optional<Description> describe(Bytes bytes);

} // namespace raw_mend
