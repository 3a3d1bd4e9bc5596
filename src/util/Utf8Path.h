#pragma once

#include <filesystem>
#include <string>

namespace plate_mend::util {

/// The path that a NUL-terminated UTF-8 string names; an empty string gives an empty path. The only way
/// from a string of the interface to a path. Throws std::system_error for what is not well-formed UTF-8
/// (overlong forms, surrogates, values above 10FFFF and cut sequences included) and for 2^31 bytes or more.
[[nodiscard]] std::filesystem::path path_from_utf8(const char* text);

/// The path as UTF-8: the bytes that path_from_utf8 was given.
[[nodiscard]] std::string utf8_from_path(const std::filesystem::path& path);

} // namespace plate_mend::util
