#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// UTF-8 to and from the native form of a path: wide on Windows, bytes on POSIX.

namespace plate_mend::platform {

/// Decodes 1 to 2^31 - 1 bytes. Throws std::system_error when they are not well-formed UTF-8.
[[nodiscard]] std::filesystem::path::string_type native_from_utf8(std::string_view text);

/// Encodes a native string. The result of native_from_utf8 becomes its argument again, unchanged.
[[nodiscard]] std::string utf8_from_native(const std::filesystem::path::string_type& native);

} // namespace plate_mend::platform
