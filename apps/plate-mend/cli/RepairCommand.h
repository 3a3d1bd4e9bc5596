#pragma once

#include "platform/Files.h"
#include "run/RepairOptions.h"

#include <filesystem>
#include <functional>

namespace plate_mend::host {

/// Repairs photographs, reports on each, and writes the reports. Returns the exit status.
///
///   is_removable  whether a path is on a removable medium; tests replace it
[[nodiscard]] int
run_repair(const RepairOptions& options, const std::filesystem::path& program,
           const std::function<bool(const std::filesystem::path&)>& is_removable = platform::is_removable);

} // namespace plate_mend::host
