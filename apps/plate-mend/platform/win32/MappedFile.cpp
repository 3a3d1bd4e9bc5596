#include "platform/MappedFile.h"

#include "platform/win32/Handle.h"

#include <system_path/system_path.h>

#include <windows.h>

#include <limits>

namespace plate_mend::host::platform {

namespace {

MapResult result_of(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
        return MapResult::kMissing;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
        return MapResult::kForbidden;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case ERROR_COMMITMENT_LIMIT:
        return MapResult::kNoRoom;
    default:
        return MapResult::kFailed;
    }
}

bool is_folder(const std::filesystem::path& path) {
    const DWORD attributes = ::GetFileAttributesW(system_path::reachable(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace

MapResult MappedFile::open(const std::filesystem::path& path, std::uint64_t most_bytes) {
    close();
    if (is_folder(path)) { // For these the system reports that access is denied.
        return MapResult::kNoFile;
    }
    const Handle file = try_to_open(path, GENERIC_READ, kShareAll, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
    if (!file) {
        return result_of(::GetLastError());
    }
    LARGE_INTEGER length{};
    if (::GetFileType(file.get()) != FILE_TYPE_DISK) {
        return MapResult::kNoFile;
    }
    if (::GetFileSizeEx(file.get(), &length) == 0) {
        return result_of(::GetLastError());
    }
    const auto size = static_cast<std::uint64_t>(length.QuadPart);
    if (size > most_bytes || size > std::numeric_limits<std::size_t>::max()) {
        return MapResult::kTooLong;
    }
    if (size == 0) {
        return MapResult::kMapped;
    }
    const Handle mapping(::CreateFileMappingW(file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    if (!mapping) {
        return result_of(::GetLastError());
    }
    const void* view = ::MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, static_cast<std::size_t>(size));
    if (view == nullptr) {
        return result_of(::GetLastError());
    }
    data_ = static_cast<const unsigned char*>(view); // The view keeps the mapping open.
    size_ = static_cast<std::size_t>(size);
    return MapResult::kMapped;
}

void MappedFile::close() noexcept {
    if (data_ != nullptr) {
        ::UnmapViewOfFile(data_);
        data_ = nullptr;
        size_ = 0;
    }
}

} // namespace plate_mend::host::platform
