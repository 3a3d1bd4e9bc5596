#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Runs the program with its arguments in UTF-8, without the program's own name. Returns the exit status.
///
///   program  the file of this program, which is started again for workers
[[nodiscard]] int run(const std::vector<std::string>& arguments, const std::filesystem::path& program);

} // namespace plate_mend::host
