#include "platform/win32/Stamp.h"

#include "platform/win32/Errors.h"

#include <system_path/system_path.h>

#include <algorithm>
#include <limits>

namespace plate_mend::host::platform {

namespace {

std::uint64_t joined(DWORD high, DWORD low) {
    return std::uint64_t{high} << 32U | low;
}

constexpr std::int64_t kStart = 116'444'736'000'000'000; ///< 1970, in tenths of microseconds since 1601.

/// Nanoseconds since 1970, from tenths of microseconds since 1601. Times beyond the years 1678 and 2262
/// become the nearest representable ones.
std::int64_t nanoseconds(const LARGE_INTEGER& time) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / 100;
    const std::int64_t tenths = std::max<std::int64_t>(time.QuadPart, 0) - kStart;
    return std::clamp(tenths, -kMost, kMost) * 100;
}

} // namespace

FileStamp stamp_of_open(const Handle& file, const std::filesystem::path& path) {
    FileStamp stamp;
    BY_HANDLE_FILE_INFORMATION info{};
    if (::GetFileType(file.get()) != FILE_TYPE_DISK) {
        return stamp;
    }
    if (::GetFileInformationByHandle(file.get(), &info) == FALSE) {
        fail_on(path);
    }
    stamp.volume = info.dwVolumeSerialNumber;
    stamp.index = joined(info.nFileIndexHigh, info.nFileIndexLow);
    stamp.links = info.nNumberOfLinks;
    stamp.folder = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    stamp.regular = !stamp.folder;
    stamp.size = joined(info.nFileSizeHigh, info.nFileSizeLow);
    FILE_BASIC_INFO times{};
    if (::GetFileInformationByHandleEx(file.get(), FileBasicInfo, &times, sizeof times) == FALSE) {
        fail_on(path);
    }
    stamp.modified = nanoseconds(times.LastWriteTime);
    stamp.changed = nanoseconds(times.ChangeTime);
    return stamp;
}

std::optional<FileStamp> stamp_of(const std::filesystem::path& path) {
    const Handle file =
        try_to_open(path, FILE_READ_ATTRIBUTES, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    if (file) {
        return stamp_of_open(file, path);
    }
    const DWORD error = ::GetLastError();
    if (!means_nothing_there(error)) {
        fail_on(path, error);
    }
    return std::nullopt;
}

bool is_taken(const std::filesystem::path& path) {
    if (::GetFileAttributesW(system_path::reachable(path).c_str()) != INVALID_FILE_ATTRIBUTES) {
        return true;
    }
    const DWORD error = ::GetLastError();
    if (error == ERROR_SHARING_VIOLATION) {
        return true;
    }
    if (!means_nothing_there(error)) {
        fail_on(path, error);
    }
    return false;
}

void set_modified(const std::filesystem::path& path, std::int64_t modified) {
    const Handle file =
        try_to_open(path, FILE_WRITE_ATTRIBUTES, kShareAll, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT);
    if (!file) {
        fail_on(path);
    }
    FILE_BASIC_INFO times{}; // What is 0 stays.
    times.LastWriteTime.QuadPart = modified / 100 + kStart;
    if (::SetFileInformationByHandle(file.get(), FileBasicInfo, &times, sizeof times) == FALSE) {
        fail_on(path);
    }
}

} // namespace plate_mend::host::platform
