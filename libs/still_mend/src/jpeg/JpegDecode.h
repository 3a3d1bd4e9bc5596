#pragma once

#include "Bytes.h"

namespace still_mend {

/// Whether libjpeg decodes the whole picture without an error or a warning.
[[nodiscard]] bool decodes_cleanly(Bytes jpeg);

} // namespace still_mend
