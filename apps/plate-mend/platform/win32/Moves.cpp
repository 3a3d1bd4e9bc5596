#include "platform/Files.h"

#include "platform/win32/Errors.h"

#include <system_path/system_path.h>

#include <windows.h>

namespace plate_mend::host::platform {

namespace {

void move(const std::filesystem::path& from, const std::filesystem::path& to, DWORD flags) {
    if (::MoveFileExW(system_path::reachable(from).c_str(), system_path::reachable(to).c_str(), flags) ==
        FALSE) {
        fail_on(to);
    }
}

/// Not a link to one.
bool is_folder_itself(const std::filesystem::path& path) {
    const DWORD attributes = ::GetFileAttributesW(system_path::reachable(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

} // namespace

void move_new(const std::filesystem::path& from, const std::filesystem::path& to) {
    move(from, to, 0);
}

void move_over(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (is_folder_itself(to)) {
        fail_on(to, std::errc::is_a_directory);
    }
    move(from, to, MOVEFILE_REPLACE_EXISTING);
}

} // namespace plate_mend::host::platform
