#include <still_mend/still_mend.h>
#include <system_path/system_path.h>

#include "JpegDecode.h"
#include "JpegSearch.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

fs::path path_of(const char* utf8) {
    const std::string text(utf8);
    return system_path::reachable(fs::path(std::u8string(text.begin(), text.end())));
}

std::optional<std::vector<unsigned char>> read_file(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream || !fs::is_regular_file(path)) {
        return std::nullopt;
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(fs::file_size(path)));
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream) {
        return std::nullopt;
    }
    return bytes;
}

bool write_file(const fs::path& path, std::span<const unsigned char> bytes) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    return !stream.fail();
}

std::int32_t repair(const fs::path& damaged, const fs::path& output) {
    const auto file = read_file(damaged);
    if (!file) {
        return STILL_MEND_INPUT_UNREADABLE;
    }
    const auto pictures = still_mend::find_whole_jpegs(*file);
    const auto best = std::find_if(pictures.begin(), pictures.end(), still_mend::decodes_cleanly);
    if (best == pictures.end()) {
        return STILL_MEND_NOTHING_FOUND;
    }
    return write_file(output, *best) ? STILL_MEND_OK : STILL_MEND_OUTPUT_UNWRITABLE;
}

} // namespace

std::int32_t MndJpegGeneralRepair(const char* damaged_file, const char* output_file) {
    try {
        return repair(path_of(damaged_file), path_of(output_file));
    } catch (...) {
        return STILL_MEND_INTERNAL;
    }
}
