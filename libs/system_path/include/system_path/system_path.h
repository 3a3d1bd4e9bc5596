#pragma once

#include <filesystem>
#include <system_error>

// Paths of any length, for the libraries and the program alike.
//
// Windows takes paths of 260 characters and more only in a form of their own: whole, with backslashes, and
// behind the prefix \\?\. Not all run-time libraries take that form in all places (some hold its question
// mark for a wildcard), so the questions that repairs ask about a path are put to the system here. File
// streams take the form everywhere.

namespace system_path {

/// The path in a form that the system takes whatever its length. On Windows, a path that may be too long
/// becomes its whole form behind \\?\; it is bound to the current directory then. Any other path, and every
/// path on other systems, comes back unchanged.
[[nodiscard]] std::filesystem::path reachable(const std::filesystem::path& path);

/// As std::filesystem::status: links are followed, nothing at the path is no error, and file_type::none
/// means that an error is set.
[[nodiscard]] std::filesystem::file_status status(const std::filesystem::path& path, std::error_code& error);

/// As std::filesystem::remove: a file, a link or an empty folder. Nothing at the path is no error.
void remove(const std::filesystem::path& path, std::error_code& error);

/// The same for a path that reachable() gave. Takes no memory.
void remove_reachable(const std::filesystem::path& path, std::error_code& error) noexcept;

/// As std::filesystem::remove_all: links inside are removed and not followed.
void remove_all(const std::filesystem::path& path, std::error_code& error);

} // namespace system_path
