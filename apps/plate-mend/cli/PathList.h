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

/// The paths in a list: one per line, or one JSON object per line with a member "path", or a record of an
/// earlier run. A line that begins with a brace but is not such an object is a path. "-" is the standard
/// input. Throws ListError.
[[nodiscard]] std::vector<std::filesystem::path> paths_from_list(const std::string& list);

} // namespace plate_mend::host
