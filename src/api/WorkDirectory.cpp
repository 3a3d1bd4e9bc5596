#include "api/WorkDirectory.h"

#include <utility>

namespace plate_mend {

namespace {

std::filesystem::path& stored_directory() {
    static std::filesystem::path directory;
    return directory;
}

} // namespace

const std::filesystem::path& work_directory() {
    return stored_directory();
}

void set_work_directory(std::filesystem::path directory) {
    stored_directory() = std::move(directory);
}

} // namespace plate_mend
