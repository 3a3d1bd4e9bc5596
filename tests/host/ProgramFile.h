#pragma once

#include <filesystem>

namespace test {

/// The program, which is in the same folder as its tests.
[[nodiscard]] std::filesystem::path program_file();

} // namespace test
