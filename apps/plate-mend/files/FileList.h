#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// A damaged file of a batch.
struct Input {
    std::filesystem::path path;
    std::filesystem::path below; ///< Its place below the root of the run, for its result's place.
    std::string problem;         ///< Why it cannot be worked on; empty for most.
};

/// Which files are taken, and where their results' places are reckoned from.
struct FileFilter {
    std::vector<std::string> extensions; ///< Lower case, without dots. Empty: those of an advanced repair.
    std::filesystem::path root;          ///< Empty: the folder that all paths have in common.
    std::filesystem::path left_out;      ///< A folder whose files are no inputs; empty: none.
};

/// The files of a run.
struct FileSelection {
    std::vector<Input> files;
    std::vector<std::string> notes;    ///< Files that were named more than once.
    std::vector<std::string> problems; ///< Folders that cannot be read.
};

/// Files that were named as they are, and all files of folders, at any depth, sorted by their path. Links to
/// folders are not followed. Left out in folders: what the filter does not take, hidden folders, and what
/// this program made (NAME.repaired.EXT, NAME.salvaged.jpg). A file that was named twice is taken once. A
/// path at which nothing is stays in the list, for the report; a file outside the root has its problem told.
[[nodiscard]] FileSelection files_in(const std::vector<std::filesystem::path>& paths,
                                     const FileFilter& filter);

} // namespace plate_mend::host
