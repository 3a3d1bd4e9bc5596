#include "run/RoomNeed.h"

#include "files/SafeOutput.h"
#include "platform/Files.h"
#include "text/Format.h"
#include "text/Paths.h"

#include <algorithm>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Files of its own size that a repair keeps in its working folder at a time, at most: the copy of the
/// damaged file, a result, and the best one.
constexpr std::uint64_t kWorkingFiles = 3;

/// 0 if that is unknown.
std::uint64_t size_of(const fs::path& file) {
    std::error_code unknown;
    const std::uintmax_t size = fs::file_size(file, unknown);
    return unknown ? 0 : size;
}

/// The nearest folder above a path that exists already.
fs::path existing_folder(const fs::path& path) {
    fs::path folder = folder_of(path);
    std::error_code none;
    while (!fs::is_directory(folder, none) && folder.has_relative_path()) {
        folder = folder.parent_path();
    }
    return folder;
}

} // namespace

void RoomNeed::add(const PlannedFile& file, const Forecast& forecast) {
    if (!forecast.problem.empty() || forecast.finished) {
        return;
    }
    const std::uint64_t size = std::max(forecast.size, forecast.sample ? size_of(forecast.sample->path) : 0);
    const fs::path folder = existing_folder(file.outputs.raw);
    const auto stamp = platform::stamp_of(folder);
    Need& need = needs_[stamp ? stamp->volume : 0];
    need.folder = folder;
    ++need.files;
    need.results += size;
    need.largest = std::max(need.largest, size);
}

std::vector<RoomNeed::Disk> RoomNeed::disks(std::uint64_t jobs) const {
    std::vector<Disk> disks;
    for (const auto& [volume, need] : needs_) {
        disks.push_back(describe(need, jobs));
    }
    return disks;
}

RoomNeed::Disk RoomNeed::describe(const Need& need, std::uint64_t jobs) {
    const std::uint64_t bytes = need.results + std::min(jobs, need.files) * kWorkingFiles * need.largest;
    Disk disk{"About " + format_size(bytes) + " needed, at most, on the disk of " + utf8_from(need.folder) +
              ", working files included"};
    std::error_code unknown;
    const fs::space_info space = fs::space(need.folder, unknown);
    if (!unknown) {
        disk.has_too_little = space.available < bytes;
        disk.text += "; " + format_size(space.available) + " free" +
                     (disk.has_too_little ? ", which is too little" : "");
    }
    return disk;
}

} // namespace plate_mend::host
