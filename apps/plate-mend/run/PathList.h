#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace plate_mend::host {

/// A list of paths cannot be read. what() says which and why.
class ListError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The form of a list.
enum class PathListForm {
    kLines, ///< One path per line, or one JSON object per line with a member "path", or a record of an
            ///< earlier run. A line that begins with a brace but is not such an object is a path.
    kNull,  ///< Paths as they are, each with a NUL byte after it.
};

/// The paths in a list. "-" is the standard input. Throws ListError.
[[nodiscard]] std::vector<std::filesystem::path> paths_from_list(const std::string& list, PathListForm form);

} // namespace plate_mend::host
