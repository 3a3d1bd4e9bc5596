#include "support/RealFiles.h"

namespace test {

std::optional<std::filesystem::path> real_folder() {
    const std::filesystem::path folder = PLATE_MEND_SAMPLES_DIR;
    return folder.empty() ? std::nullopt : std::optional(folder);
}

std::optional<Bytes> real_file(const std::string& name) {
    const auto folder = real_folder();
    return folder ? std::optional(read_file(*folder / name)) : std::nullopt;
}

} // namespace test
