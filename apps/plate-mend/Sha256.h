#pragma once

#include <filesystem>
#include <string>

namespace plate_mend::host {

/// The SHA-256 sum of a file: 64 lower-case hexadecimal digits. Reads the file once, a piece at a time.
/// Throws std::runtime_error, with the path, when the file cannot be read to its end.
[[nodiscard]] std::string sha256_of(const std::filesystem::path& file);

} // namespace plate_mend::host
