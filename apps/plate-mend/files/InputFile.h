#pragma once

#include <filesystem>
#include <string>

namespace plate_mend::host {

/// Whether anything is at a path, through links. Throws MachineFailure, "cannot be read" with the reason,
/// when the system does not say.
[[nodiscard]] bool is_there(const std::filesystem::path& path);

/// All bytes of a small file; none for a file that is missing or cannot be read.
[[nodiscard]] std::string read_small_file(const std::filesystem::path& file);

} // namespace plate_mend::host
