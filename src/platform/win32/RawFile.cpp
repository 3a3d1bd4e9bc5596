#include "platform/RawFile.h"

#include <libraw/libraw.h>
#include <system_path/system_path.h>

#include <fstream>
#include <iterator>
#include <vector>

namespace plate_mend::platform {

namespace {

int open_bytes(LibRaw& raw, const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    return raw.open_buffer(bytes.data(), bytes.size());
}

} // namespace

int open_raw(LibRaw& raw, const std::filesystem::path& path) {
    const std::filesystem::path reachable = system_path::reachable(path);
    // LibRaw asks the run-time library for the file's size, and that may take the ? in the \\?\ form of a
    // path for a wildcard.
    return reachable == path ? raw.open_file(path.c_str()) : open_bytes(raw, reachable);
}

} // namespace plate_mend::platform
