#pragma once

#include <filesystem>

namespace plate_mend::host {

/// What a worker does: the task in the folder, whose answer it leaves there. Returns the exit status of the
/// process.
[[nodiscard]] int run_task(const std::filesystem::path& folder);

} // namespace plate_mend::host
