#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// A damaged file of a batch.
struct Input {
    std::filesystem::path path;
    std::filesystem::path below; ///< Its path relative to the root of the run, for its result's path.
    std::string problem;         ///< Why it cannot be repaired; usually empty.
};

/// Which files are taken, and which root their results' paths are relative to.
struct FileFilter {
    std::vector<std::string> extensions; ///< Lower case, without dots. Empty: those of RAW photographs.
    std::filesystem::path root;          ///< Empty: the folder that all paths have in common.
    std::filesystem::path left_out;      ///< A folder whose files are not inputs; empty: none.
};

/// The files of a run.
struct FileSelection {
    std::vector<Input> files;
    std::vector<std::string> notes;    ///< Files that were named more than once.
    std::vector<std::string> problems; ///< Folders that cannot be read.
};

/// The files that were named, and all files of folders, at any depth, sorted by path. Links to folders are
/// not followed. In folders, files that the filter excludes, hidden folders and results of this program
/// (NAME.repaired.EXT, NAME.salvaged.jpg) are left out. A file that was named twice is taken once. A path at
/// which nothing exists stays in the list, for the report; a file outside the root gets a problem.
[[nodiscard]] FileSelection files_in(const std::vector<std::filesystem::path>& paths,
                                     const FileFilter& filter);

} // namespace plate_mend::host
