#pragma once

#include <filesystem>

namespace test {

/// The program, which stands beside the tests of it.
[[nodiscard]] std::filesystem::path program_file();

} // namespace test
