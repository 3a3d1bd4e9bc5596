#pragma once

#include <span>

namespace still_mend {

/// Whether libjpeg decodes the whole picture without an error or a warning.
[[nodiscard]] bool decodes_cleanly(std::span<const unsigned char> jpeg);

} // namespace still_mend
