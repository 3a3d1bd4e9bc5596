#pragma once

#include "run/LimitOptions.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

// What commands that work on single files share. Messages go to the standard error stream, exceptions become
// messages, and each function returns an exit status.

namespace plate_mend::host {

class Workers;

/// Writes a message, and returns the status of a failure.
[[nodiscard]] int fail(const std::string& message);

/// Runs a command on one file.
[[nodiscard]] int run_for_file(const std::string& file, const std::function<int()>& command);

/// What to do with a file, given its name on the command line. The folder is for the workers.
using FileCommand =
    std::function<int(const std::string& file, const Workers& workers, const std::filesystem::path& folder)>;

/// Runs a read-only command on each file. The folder for temporary files is not next to the file. Returns the
/// worst status.
[[nodiscard]] int run_for_each_file(const std::vector<std::string>& files, const LimitOptions& limits,
                                    const std::filesystem::path& program, const FileCommand& command);

} // namespace plate_mend::host
