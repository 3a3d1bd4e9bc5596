#pragma once

#include <filesystem>
#include <string>

namespace plate_mend::host::platform {

/// A path as bytes, and back, without loss. On POSIX systems these are the bytes of the name, whatever they
/// are. On Windows they are UTF-8; a surrogate without its partner becomes the three bytes that UTF-8 would
/// have for it, so the result is well-formed UTF-8 exactly where the name is well-formed UTF-16.
[[nodiscard]] std::string bytes_of(const std::filesystem::path& path);
[[nodiscard]] std::filesystem::path path_of(const std::string& bytes);

/// Equal for two paths that lead to one name: absolute, without dots, and with links followed as far as they
/// lead anywhere; on Windows in one case too, as its file systems compare names. The path need not exist.
/// Never throws std::filesystem::filesystem_error: what cannot be resolved stays as it is.
[[nodiscard]] std::string name_key(const std::filesystem::path& path);

} // namespace plate_mend::host::platform
