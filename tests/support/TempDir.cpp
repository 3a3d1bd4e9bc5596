#include "support/TempDir.h"

#include <random>
#include <string>
#include <system_error>

namespace test {

namespace fs = std::filesystem;

TempDir::TempDir() : TempDir(fs::temp_directory_path()) {}

TempDir::TempDir(const fs::path& parent) {
    std::random_device random;
    do {
        path_ = parent / ("plate-mend-test-" + std::to_string(random()));
    } while (!fs::create_directory(path_)); // False where another test was quicker.
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

fs::path quick_folder() {
    const fs::path memory = "/dev/shm";
    std::error_code ignored;
    return fs::is_directory(memory, ignored) ? memory : fs::temp_directory_path();
}

} // namespace test
