#pragma once

#include <string>

namespace plate_mend {

/// The extension of a path, without its dot, with each byte lowered on its own.
///
/// It is what follows the last dot of the whole path, so a dot in a folder's name counts where the file's
/// name has none. Empty when there is no dot, or nothing behind it.
[[nodiscard]] std::string lower_case_extension(const std::string& utf8_path);

} // namespace plate_mend
