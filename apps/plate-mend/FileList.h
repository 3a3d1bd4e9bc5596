#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace plate_mend::host {

/// A damaged file of a batch.
struct Input {
    std::filesystem::path path;
    std::filesystem::path
        below; ///< Its place below the folder that was named; its name alone for a named file.
};

/// A list of files cannot be read or understood. what() says which and why.
class ListError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Which files of a folder are taken.
struct FileFilter {
    std::vector<std::string> extensions; ///< Lower case, without dots. Empty: those of an advanced repair.
};

/// Files that were named as they are, and all files of folders, at any depth, sorted by their path. Of a
/// folder are left out: what the filter does not take, hidden folders, and what this program made
/// (NAME.repaired.EXT, NAME.salvaged.jpg). A path at which nothing stands stays in the list, for the report.
/// Throws std::filesystem::filesystem_error when a folder cannot be read.
[[nodiscard]] std::vector<Input> files_in(const std::vector<std::filesystem::path>& paths,
                                          const FileFilter& filter);

/// The paths in a list: one a line, or one JSON object a line with a member "path", or a record of a former
/// run. "-" is the standard input. Throws ListError.
[[nodiscard]] std::vector<std::filesystem::path> paths_from_list(const std::string& list);

} // namespace plate_mend::host
