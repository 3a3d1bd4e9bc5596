#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test {

/// Runs a command line in a shell, in the folder, with bin first in the search path. Returns the lines that
/// it wrote to both of its streams. Its status does not matter.
[[nodiscard]] std::vector<std::string> run_in_shell(const std::string& command,
                                                    const std::filesystem::path& folder,
                                                    const std::filesystem::path& bin);

/// Whether the lines match a pattern, in which "..." matches any text, and a line of "..." alone any
/// lines.
[[nodiscard]] bool matches(const std::vector<std::string>& lines, const std::vector<std::string>& pattern);

} // namespace test
