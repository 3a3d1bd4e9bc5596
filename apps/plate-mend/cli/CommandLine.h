#pragma once

#include "cli/OpenCommand.h"

#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Runs the program with its arguments in UTF-8, without the program's own name. Without any, it opens the
/// window if a desktop has started it, and otherwise says how it is used. Returns the exit status.
///
///   program  the file of this program, which is started again for workers
[[nodiscard]] int run(const std::vector<std::string>& arguments, const std::filesystem::path& program,
                      const Desktop& desktop = {});

} // namespace plate_mend::host
