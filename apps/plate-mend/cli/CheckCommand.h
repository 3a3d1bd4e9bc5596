#pragma once

#include "run/LimitOptions.h"

#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Which files to check.
struct CheckOptions {
    std::vector<std::string> files;
    LimitOptions limits;
};

/// Has workers find out whether LibRaw opens each file, and prints the results. Returns the exit status.
[[nodiscard]] int run_check(const CheckOptions& options, const std::filesystem::path& program);

} // namespace plate_mend::host
