#pragma once

#include <filesystem>

namespace plate_mend {

/// The directory for temporary files, empty until MndRawInit stores one. There is one per process, without a
/// lock: nothing may store it while a repair runs.
[[nodiscard]] const std::filesystem::path& work_directory();

/// Replaces the work directory. It is neither checked nor created.
void set_work_directory(std::filesystem::path directory);

} // namespace plate_mend
