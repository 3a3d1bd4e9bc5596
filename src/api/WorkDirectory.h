#pragma once

#include <filesystem>

namespace plate_mend {

/// The directory for temporary files, empty until MndRawInit stores one. One for the process, unguarded:
/// nothing may store it while a repair runs.
[[nodiscard]] const std::filesystem::path& work_directory();

/// Replaces the work directory. It is neither tested nor created.
void set_work_directory(std::filesystem::path directory);

} // namespace plate_mend
