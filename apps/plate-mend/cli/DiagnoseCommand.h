#pragma once

#include "cli/LimitOptions.h"

#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// What to look at.
struct DiagnoseOptions {
    std::vector<std::string> files;
    std::string sample; ///< Empty: none.
    bool json = false;  ///< One object per file instead of text.
    LimitOptions limits;
};

/// What is left of each file, looked at in a worker.
[[nodiscard]] int run_diagnose(const DiagnoseOptions& options, const std::filesystem::path& program);

} // namespace plate_mend::host
