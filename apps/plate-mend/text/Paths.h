#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// Paths as the program passes them around: as bytes, usually UTF-8, but not always.

namespace plate_mend::host {

/// Paths to and from the bytes of the command line, without loss. UTF-8 wherever the name is well-formed.
[[nodiscard]] std::filesystem::path path_from(const std::string& bytes);
[[nodiscard]] std::string utf8_from(const std::filesystem::path& path);

/// The bytes of a path as well-formed UTF-8, without loss: each byte that belongs to no character becomes
/// U+0000, which no name contains, followed by its value in two lower-case hexadecimal digits.
[[nodiscard]] std::string escaped_name(std::string_view bytes);
/// The bytes again. Anything else is left unchanged.
[[nodiscard]] std::string unescaped_name(std::string_view text);

} // namespace plate_mend::host
