#pragma once

#include "cli/LimitOptions.h"

#include <filesystem>
#include <string>

namespace plate_mend::host {

/// What to salvage a picture from.
struct SalvageOptions {
    std::string damaged;
    std::string output; ///< Empty: a name made from the damaged file's.
    bool force = false;
    LimitOptions limits;
};

/// The general repair of one photograph or JPEG.
[[nodiscard]] int run_salvage(const SalvageOptions& options, const std::filesystem::path& program);

} // namespace plate_mend::host
