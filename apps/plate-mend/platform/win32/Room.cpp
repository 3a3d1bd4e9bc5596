#include "platform/Files.h"

#include "platform/win32/Errors.h"
#include "platform/win32/Handle.h"

#include <system_path/system_path.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace plate_mend::host::platform {

namespace {

constexpr int kTries = 16;

// Not in every winerror.h.
constexpr int kDiskResourcesExhausted = 314;
constexpr int kFileSystemLimitation = 665;
constexpr int kDiskQuotaExceeded = 1295;

std::filesystem::path random_name() {
    std::random_device random;
    return ".plate-mend-room-" + std::to_string(random()) + std::to_string(random());
}

/// A file in the folder that goes with its handle. Throws std::system_error.
Handle open_temporary(const std::filesystem::path& folder) {
    constexpr DWORD kFlags =
        FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_DELETE_ON_CLOSE;
    for (int tries = 1;; ++tries) {
        const std::filesystem::path name = folder / random_name();
        Handle file = try_to_open(name, GENERIC_WRITE | DELETE, kShareAll, CREATE_NEW, kFlags);
        if (file) {
            return file;
        }
        const DWORD error = ::GetLastError();
        if (error != ERROR_FILE_EXISTS || tries == kTries) {
            fail_on(name, error);
        }
    }
}

bool exceeds_free_space(const std::filesystem::path& folder, std::uint64_t bytes) {
    ULARGE_INTEGER free{};
    return ::GetDiskFreeSpaceExW(system_path::reachable(folder).c_str(), &free, nullptr, nullptr) != FALSE &&
           free.QuadPart < bytes;
}

/// Reserves the bytes without writing them.
DWORD error_of_reserving(const Handle& file, std::uint64_t bytes) {
    FILE_ALLOCATION_INFO info{};
    info.AllocationSize.QuadPart = static_cast<LONGLONG>(bytes);
    if (::SetFileInformationByHandle(file.get(), FileAllocationInfo, &info, sizeof info) != FALSE) {
        return ERROR_SUCCESS;
    }
    const DWORD error = ::GetLastError();
    const bool is_no_service = error == ERROR_NOT_SUPPORTED || error == ERROR_INVALID_FUNCTION ||
                               error == ERROR_CALL_NOT_IMPLEMENTED;
    return is_no_service ? ERROR_SUCCESS : error;
}

bool is_no_room_of_windows(int error) {
    switch (error) {
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kDiskQuotaExceeded:
    case kDiskResourcesExhausted:
    case ERROR_FILE_TOO_LARGE:
    case kFileSystemLimitation:
        return true;
    default:
        return false;
    }
}

} // namespace

std::error_code room_for(const std::filesystem::path& folder, std::uint64_t bytes) {
    try {
        const Handle file = open_temporary(folder);
        if (bytes > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            return std::make_error_code(std::errc::file_too_large);
        }
        if (exceeds_free_space(folder, bytes)) {
            return std::make_error_code(std::errc::no_space_on_device);
        }
        const DWORD error = error_of_reserving(file, bytes);
        return error == ERROR_SUCCESS ? std::error_code{} : code_from(error);
    } catch (const std::system_error& e) {
        return e.code();
    } catch (const std::exception&) {
        return std::make_error_code(std::errc::not_enough_memory);
    }
}

bool exceeds_largest_file(std::uint64_t /*bytes*/) {
    return false;
}

bool means_unreadable(const std::error_code& error) {
    switch (error.value()) {
    case ERROR_CRC:
    case ERROR_SEEK:
    case ERROR_SECTOR_NOT_FOUND:
    case ERROR_READ_FAULT:
    case ERROR_IO_DEVICE:
    case ERROR_FLOPPY_ID_MARK_NOT_FOUND:
    case ERROR_DISK_OPERATION_FAILED:
        return std::strcmp(error.category().name(), "system") == 0;
    default:
        return false;
    }
}

bool means_no_room(const std::error_code& error) {
    // Each module has categories of its own, so their names are compared.
    const char* category = error.category().name();
    if (std::strcmp(category, "generic") == 0) {
        return error.value() == ENOSPC || error.value() == EFBIG;
    }
    return std::strcmp(category, "system") == 0 && is_no_room_of_windows(error.value());
}

} // namespace plate_mend::host::platform
