#pragma once

#include "container/Description.h"

#include <optional>

namespace raw_mend {

/// Describes a Fujifilm RAF. Nothing for other files. Takes linear time, and throws only std::bad_alloc.
[[nodiscard]] std::optional<Description> describe_raf(Bytes bytes);

} // namespace raw_mend
