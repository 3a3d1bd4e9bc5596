#pragma once

#include <string>

namespace plate_mend {

/// The extension of a path, without its dot, each byte in lower case.
///
/// It is what follows the last dot of the whole path, so a dot in the name of a folder counts where the name
/// of the file has none: see docs/compatibility.md, The interface. Empty when there is no dot, or nothing
/// after it.
[[nodiscard]] std::string lower_case_extension(const std::string& utf8_path);

} // namespace plate_mend
