#pragma once

#include "files/Protected.h"
#include "repair/Plan.h"
#include "run/RepairOptions.h"

#include <filesystem>
#include <vector>

namespace plate_mend::host {

class Notes;

/// The files of a run, and what it must not write to.
struct RepairSelection {
    std::vector<PlannedFile> files;
    std::vector<std::filesystem::path> samples;
    Protected inputs;                ///< Damaged files and samples.
    bool has_unread_folders = false; ///< Some folders cannot be read; notes name them.
};

/// Finds the damaged photographs and the samples, and plans where results go. Notes say what was left out.
/// Throws UsageError and ListError.
[[nodiscard]] RepairSelection select_photographs(const RepairOptions& options, Notes& notes);

} // namespace plate_mend::host
