#pragma once

#include <filesystem>
#include <system_error>

// Paths of any length, for the libraries and the program.
//
// Windows accepts paths of 260 characters and more only in a special form: absolute, with backslashes, and
// preceded by \\?\. Not every run-time library accepts that form everywhere (some take its question mark for
// a wildcard), so what repairs ask about a path is asked here, of the system itself. File streams accept the
// form everywhere.

namespace system_path {

/// The path in a form that the system accepts at any length. On Windows, a path that may be too long becomes
/// absolute, resolved in the current directory, and preceded by \\?\. Any other path, and every path on other
/// systems, is returned unchanged.
[[nodiscard]] std::filesystem::path reachable(const std::filesystem::path& path);

/// As std::filesystem::status: links are followed, nothing at the path is not an error, and file_type::none
/// means that an error is set.
[[nodiscard]] std::filesystem::file_status status(const std::filesystem::path& path, std::error_code& error);

/// As std::filesystem::remove: removes a file, a link or an empty folder. Nothing at the path is not an
/// error.
void remove(const std::filesystem::path& path, std::error_code& error);

/// The same for a path returned by reachable(). Allocates no memory.
void remove_reachable(const std::filesystem::path& path, std::error_code& error) noexcept;

/// As std::filesystem::remove_all: links inside are removed, not followed.
void remove_all(const std::filesystem::path& path, std::error_code& error);

} // namespace system_path
