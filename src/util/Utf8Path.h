#pragma once

#include <filesystem>
#include <string>

namespace plate_mend::util {

/// The path of a NUL-terminated UTF-8 string; an empty string gives an empty path. The only way from a string
/// of the interface to a path. Throws std::system_error for a string that is not well-formed UTF-8 (including
/// overlong forms, surrogates, values above 10FFFF and truncated sequences) or has 2^31 bytes or more.
[[nodiscard]] std::filesystem::path path_from_utf8(const char* text);

/// The path as UTF-8: the bytes that path_from_utf8 received.
[[nodiscard]] std::string utf8_from_path(const std::filesystem::path& path);

} // namespace plate_mend::util
