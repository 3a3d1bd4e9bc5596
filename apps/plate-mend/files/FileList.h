#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace plate_mend::host {

/// A damaged file of a batch.
struct Input {
    std::filesystem::path path;
    std::filesystem::path below; ///< Its path relative to the root of the run, for its result's path.
    std::string problem;         ///< Why it cannot be repaired; usually empty.
    std::string kind{};          ///< As kind_of returns it.
};

/// Which files are taken, and which root their results' paths are relative to.
struct FileFilter {
    std::vector<std::string> extensions; ///< Lower case, without dots. Empty: all RAW photographs.
    std::filesystem::path root;          ///< Empty: the folder that all paths have in common.
    std::filesystem::path left_out;      ///< A folder whose files are not inputs; empty: none.
};

/// The files of a run.
struct FileSelection {
    std::vector<Input> files;
    std::vector<std::string> notes;    ///< Files that were named more than once.
    std::vector<std::string> problems; ///< Folders that cannot be read.
    /// How many files of folders were left out, by their extensions in lower case with the dot, or as
    /// "without extension" or "companions of photographs". Results of this program do not count. Empty if the
    /// filter names extensions.
    std::map<std::string, std::size_t> left_out;
    std::size_t results_left_out = 0; ///< Results of this program in folders.
};

/// The files that were named, and the RAW photographs in folders, whatever their names and at any depth,
/// sorted by path. With extensions, only the files of folders that have one of them. Links to folders are not
/// followed. In folders, companions of photographs, hidden folders and results of this program
/// (NAME.repaired.EXT, NAME.salvaged.jpg) are left out. A file that was named twice is taken once. A path at
/// which nothing exists stays in the list, for the report; a file outside the root gets a problem. Throws
/// Interrupted.
[[nodiscard]] FileSelection files_in(const std::vector<std::filesystem::path>& paths,
                                     const FileFilter& filter);

} // namespace plate_mend::host
