#include "platform/win32/Errors.h"

#include "platform/Names.h"

#include <windows.h>

namespace plate_mend::host::platform {

std::error_code code_from(unsigned long error) {
    switch (error) {
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return std::make_error_code(std::errc::file_exists);
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return std::make_error_code(std::errc::no_space_on_device);
    case ERROR_CRC:
    case ERROR_SEEK:
    case ERROR_SECTOR_NOT_FOUND:
    case ERROR_READ_FAULT:
    case ERROR_GEN_FAILURE:
    case ERROR_IO_DEVICE:
        return std::make_error_code(std::errc::io_error);
    default:
        return {static_cast<int>(error), std::system_category()};
    }
}

void fail_on(const std::filesystem::path& path, unsigned long error) {
    throw std::system_error(code_from(error), bytes_of(path));
}

void fail_on(const std::filesystem::path& path) {
    fail_on(path, ::GetLastError());
}

void fail_on(const std::filesystem::path& path, std::errc error) {
    throw std::system_error(std::make_error_code(error), bytes_of(path));
}

bool means_nothing_there(unsigned long error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_DIRECTORY:
        return true;
    default:
        return false;
    }
}

} // namespace plate_mend::host::platform
