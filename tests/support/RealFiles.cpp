#include "support/RealFiles.h"

namespace test {

std::optional<Bytes> real_file(const std::string& name) {
    const std::filesystem::path folder = PLATE_MEND_SAMPLES_DIR;
    if (folder.empty()) {
        return std::nullopt;
    }
    return read_file(folder / name);
}

} // namespace test
