#include "platform/posix/Removable.h"

#include "platform/Files.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <fstream>
#include <string>

namespace plate_mend::host::platform {

namespace {

namespace fs = std::filesystem;

constexpr int kDeepest = 8;

std::string first_line(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

/// A USB bus: "usb" and its number.
bool is_usb_bus(const std::string& name) {
    return name.size() > 3 && name.starts_with("usb") &&
           std::all_of(name.begin() + 3, name.end(),
                       [](char letter) { return letter >= '0' && letter <= '9'; });
}

bool is_on_usb(const fs::path& disk) {
    return std::any_of(disk.begin(), disk.end(),
                       [](const fs::path& part) { return is_usb_bus(part.native()); });
}

bool is_removable_disk(const fs::path& sysfs, const fs::path& device, int depth);

bool has_removable_below(const fs::path& sysfs, const fs::path& disk, int depth) {
    std::error_code error;
    fs::directory_iterator below(disk / "slaves", error);
    while (depth < kDeepest && !error && below != fs::directory_iterator()) {
        if (is_removable_disk(sysfs, below->path(), depth + 1)) {
            return true;
        }
        below.increment(error);
    }
    return false;
}

bool is_removable_disk(const fs::path& sysfs, const fs::path& device, int depth) {
    std::error_code error;
    fs::path disk = fs::canonical(device, error);
    if (error) {
        return false;
    }
    if (fs::exists(disk / "partition", error)) {
        disk = disk.parent_path();
    }
    return first_line(disk / "removable") == "1" || first_line(disk / "device" / "type") == "SD" ||
           is_on_usb(disk.lexically_relative(sysfs)) || has_removable_below(sysfs, disk, depth);
}

} // namespace

bool is_removable_device(const fs::path& sysfs, unsigned major, unsigned minor) {
    std::error_code error;
    const fs::path root = fs::canonical(sysfs, error);
    const std::string number = std::to_string(major) + ':' + std::to_string(minor);
    return !error && is_removable_disk(root, root / "dev" / "block" / number, 0);
}

bool is_removable(const fs::path& path) {
    std::error_code error;
    fs::path place = fs::absolute(path, error);
    struct stat status {};
    while (!error && ::stat(place.c_str(), &status) != 0) {
        const fs::path above = place.parent_path();
        if (above == place) {
            return false;
        }
        place = above;
    }
    return !error && is_removable_device("/sys", major(status.st_dev), minor(status.st_dev));
}

} // namespace plate_mend::host::platform
