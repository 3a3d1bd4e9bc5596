#pragma once

#include "container/Description.h"

#include <optional>

namespace raw_mend {

/// Describes a file of boxes (ISO BMFF): Canon CR3. Nothing for other files. Takes linear time, and throws
/// only std::bad_alloc.
[[nodiscard]] std::optional<Description> describe_bmff(Bytes bytes);

} // namespace raw_mend
