#pragma once

#include <filesystem>
#include <string>

namespace plate_mend::host::platform {

/// Throws std::system_error with an error of the system; `what` goes before its text.
[[noreturn]] void fail(int error, const std::string& what);
/// The same about a path, with the error of the last call.
[[noreturn]] void fail_on(const std::filesystem::path& path);

} // namespace plate_mend::host::platform
