#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace plate_mend::host::platform {

/// An error number of Windows as an error code. Those that callers look for compare equal to std::errc: a
/// name that is taken, a full disk, bytes that cannot be read.
[[nodiscard]] std::error_code code_from(unsigned long error);

/// Throws std::system_error with an error number of Windows, or the one of the last call, about a path.
[[noreturn]] void fail_on(const std::filesystem::path& path, unsigned long error);
[[noreturn]] void fail_on(const std::filesystem::path& path);
/// Throws std::system_error about a path.
[[noreturn]] void fail_on(const std::filesystem::path& path, std::errc error);

/// Whether an error number says that nothing has a name.
[[nodiscard]] bool means_nothing_there(unsigned long error);

} // namespace plate_mend::host::platform
