#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// The samples of a run.
struct SampleSelection {
    std::vector<std::filesystem::path> files;
    std::vector<std::string> notes;    ///< What was left out.
    std::vector<std::string> problems; ///< Folders that cannot be read.
    std::string refusal;               ///< Why the command line makes no sense; usually empty.
};

/// The files that were named, and the photographs in folders, whatever their names and at any depth; each
/// once. Companions of photographs, results of this program and what is no photograph are left out. A file
/// that is not there and a folder without any photograph are refused. Throws Interrupted.
///
///   out  the folder of results, whose files are no samples; empty: none
[[nodiscard]] SampleSelection select_samples(const std::vector<std::filesystem::path>& names,
                                             const std::filesystem::path& out);

} // namespace plate_mend::host
