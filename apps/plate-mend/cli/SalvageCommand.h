#pragma once

#include "run/LimitOptions.h"

#include <filesystem>
#include <string>

namespace plate_mend::host {

/// What to salvage a picture from.
struct SalvageOptions {
    std::string damaged;
    std::string sample; ///< An intact photograph from the same camera; empty: none.
    std::string output; ///< Empty: derived from the damaged file's name.
    bool force = false;
    LimitOptions limits;
};

/// Runs the general repair on one photograph or JPEG. Returns the exit status.
[[nodiscard]] int run_salvage(const SalvageOptions& options, const std::filesystem::path& program);

} // namespace plate_mend::host
