#include "support/TempDir.h"

#include <random>
#include <string>
#include <system_error>

namespace test {

namespace fs = std::filesystem;

TempDir::TempDir() {
    std::random_device random;
    do {
        path_ = fs::temp_directory_path() / ("plate-mend-test-" + std::to_string(random()));
    } while (!fs::create_directory(path_)); // False where another test was quicker.
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

} // namespace test
