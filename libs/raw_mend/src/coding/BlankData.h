#pragma once

#include "Bytes.h"

namespace raw_mend {

/// Whether there are so many zeros one after another as no coded data have: those of a part that is lost.
[[nodiscard]] bool has_blank_part(Bytes coded);

} // namespace raw_mend
