#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test {

/// The program, which stands beside the tests of it.
[[nodiscard]] std::filesystem::path program_file();

/// The arguments without a limit of memory for workers where the build's own checks need more than any limit:
/// with sanitizers. Only commands that start workers are changed.
[[nodiscard]] std::vector<std::string> limited(std::vector<std::string> arguments);

} // namespace test
