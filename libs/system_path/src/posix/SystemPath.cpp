#include <system_path/system_path.h>

namespace system_path {

namespace fs = std::filesystem;

fs::path reachable(const fs::path& path) {
    return path;
}

fs::file_status status(const fs::path& path, std::error_code& error) {
    return fs::status(path, error);
}

void remove(const fs::path& path, std::error_code& error) {
    fs::remove(path, error);
}

void remove_reachable(const fs::path& path, std::error_code& error) noexcept {
    fs::remove(path, error);
}

void remove_all(const fs::path& path, std::error_code& error) {
    fs::remove_all(path, error);
}

} // namespace system_path
