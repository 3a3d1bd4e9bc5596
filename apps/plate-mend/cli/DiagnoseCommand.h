#pragma once

#include "run/LimitOptions.h"

#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Which files to diagnose.
struct DiagnoseOptions {
    std::vector<std::string> files;
    std::string sample; ///< Empty: none.
    bool json = false;  ///< One object per file instead of text.
    LimitOptions limits;
};

/// Has workers examine what is left of each file, and prints their reports. Returns the exit status.
[[nodiscard]] int run_diagnose(const DiagnoseOptions& options, const std::filesystem::path& program);

} // namespace plate_mend::host
