#include "api/RepairSteps.h"

#include "api/WorkDirectory.h"
#include "util/Utf8Path.h"

#include <still_mend/still_mend.h>
#include <system_path/system_path.h>

#include <fstream>
#include <memory>
#include <string>
#include <system_error>

namespace plate_mend {

namespace {

namespace fs = std::filesystem;

// A stream reads one byte less than its buffer holds, and the system copies whole MiB fastest.
constexpr std::size_t kCloneBuffer = (std::size_t{1} << 20) + 1;

fs::file_status status_of(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = system_path::status(path, error);
    if (status.type() == fs::file_type::none) {
        throw fs::filesystem_error("status", path, error);
    }
    return status;
}

bool is_directory_at(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(system_path::status(path, ignored));
}

} // namespace

RepairPaths decode_paths(const char* damaged_file, const char* sample_file, const char* output_file) {
    RepairPaths paths;
    paths.damaged = system_path::reachable(util::path_from_utf8(damaged_file));
    paths.sample = system_path::reachable(util::path_from_utf8(sample_file));
    paths.output = system_path::reachable(util::path_from_utf8(output_file));
    return paths;
}

bool path_exists(const fs::path& path) {
    return fs::exists(status_of(path));
}

void remove_path(const fs::path& path) {
    std::error_code error;
    if (fs::is_directory(status_of(path))) {
        system_path::remove_all(path, error);
        if (error) {
            throw fs::filesystem_error("remove_all", path, error);
        }
    } else {
        system_path::remove(path, error);
        if (error) {
            throw fs::filesystem_error("remove", path, error);
        }
    }
}

void clear_path(const fs::path& path) {
    if (path_exists(path)) {
        remove_path(path);
    }
}

bool inputs_exist(const RepairPaths& paths) {
    return path_exists(paths.damaged) && path_exists(paths.sample);
}

fs::path temporary_path(const char* file_name) {
    return system_path::reachable(work_directory() / file_name);
}

bool clone_file(const fs::path& from, const fs::path& to) {
    const auto buffer = std::make_unique_for_overwrite<char[]>(kCloneBuffer);
    std::ifstream source;
    source.rdbuf()->pubsetbuf(buffer.get(), static_cast<std::streamsize>(kCloneBuffer));
    source.open(from, std::ios::binary);
    std::ofstream target(to, std::ios::binary | std::ios::trunc);
    // Some systems open a stream on a directory; that is a failure, too.
    if (source.fail() || target.fail() || is_directory_at(from)) {
        return false;
    }
    target << source.rdbuf();
    return true;
}

std::int32_t run_general_repair(const char* damaged_file, const char* output_file) {
    const fs::path damaged = util::path_from_utf8(damaged_file);
    const fs::path output = util::path_from_utf8(output_file);
    const std::string damaged_utf8 = util::utf8_from_path(damaged);
    const std::string output_utf8 = util::utf8_from_path(output);
    return MndJpegGeneralRepair(damaged_utf8.c_str(), output_utf8.c_str());
}

} // namespace plate_mend
