#include "platform/FileMapping.h"

#include <windows.h>

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <limits>
#include <string_view>

namespace plate_mend::platform {

// The three modes. The access is GENERIC_ALL in each, so a file that the process may not write is never
// opened; and since it includes deletion, the file must not be open elsewhere without FILE_SHARE_DELETE.
//
//   mode           share mode              page protection    view access
//   kReadWrite     reading and writing     PAGE_READWRITE     FILE_MAP_ALL_ACCESS
//   kReadOnly      reading                 PAGE_READONLY      FILE_MAP_READ
//   kCopyOnWrite   writing                 PAGE_WRITECOPY     FILE_MAP_WRITE
//
// The system creates no view with FILE_MAP_WRITE of a PAGE_WRITECOPY mapping, so the last mode never maps. No
// repair uses it. See docs/compatibility.md, All formats.

namespace {

struct ModeConstants {
    DWORD share;
    DWORD protection;
    DWORD view_access;
};

ModeConstants constants_of(MapMode mode) noexcept {
    switch (mode) {
    case MapMode::kReadOnly:
        return {FILE_SHARE_READ, PAGE_READONLY, FILE_MAP_READ};
    case MapMode::kCopyOnWrite:
        return {FILE_SHARE_WRITE, PAGE_WRITECOPY, FILE_MAP_WRITE};
    case MapMode::kReadWrite:
        break;
    }
    return {FILE_SHARE_READ | FILE_SHARE_WRITE, PAGE_READWRITE, FILE_MAP_ALL_ACCESS};
}

HANDLE to_handle(NativeHandle handle) noexcept {
    return reinterpret_cast<HANDLE>(handle);
}

// The run-time library may take the ? in the \\?\ form of a path for a wildcard.
bool has_long_form(const std::filesystem::path& path) noexcept {
    return std::wstring_view(path.c_str()).starts_with(LR"(\\?\)");
}

std::uint64_t file_size_of_long_form(const std::filesystem::path& path) noexcept {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) == 0 ||
        (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return 0;
    }
    return std::uint64_t{data.nFileSizeHigh} << 32U | data.nFileSizeLow;
}

} // namespace

std::uint64_t file_size(const std::filesystem::path& path) noexcept {
    if (has_long_form(path)) {
        return file_size_of_long_form(path);
    }
    struct ::_stat64 status {};
    if (::_wstat64(path.c_str(), &status) != 0 || (status.st_mode & _S_IFMT) != _S_IFREG ||
        status.st_size < 0) {
        return 0;
    }
    return static_cast<std::uint64_t>(status.st_size);
}

NativeHandle open_file(const std::filesystem::path& path, MapMode mode) noexcept {
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_ALL, constants_of(mode).share, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    return reinterpret_cast<NativeHandle>(file); // INVALID_HANDLE_VALUE is kNoHandle.
}

NativeHandle create_mapping(NativeHandle file, MapMode mode) noexcept {
    const HANDLE mapping =
        ::CreateFileMappingW(to_handle(file), nullptr, constants_of(mode).protection, 0, 0, nullptr);
    return mapping == nullptr ? kNoHandle : reinterpret_cast<NativeHandle>(mapping);
}

unsigned char* map_view(NativeHandle mapping, MapMode mode, std::uint64_t size) noexcept {
    if (size > std::numeric_limits<std::size_t>::max()) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    return static_cast<unsigned char*>(::MapViewOfFile(to_handle(mapping), constants_of(mode).view_access, 0,
                                                       0, static_cast<std::size_t>(size)));
}

void prefetch(std::span<const unsigned char> bytes) noexcept {
    WIN32_MEMORY_RANGE_ENTRY range{const_cast<unsigned char*>(bytes.data()),
                                   bytes.size()}; // Nothing is written.
    (void)::PrefetchVirtualMemory(::GetCurrentProcess(), 1, &range, 0);
}

void unmap_view(unsigned char* view, std::uint64_t /*size*/) noexcept {
    ::UnmapViewOfFile(view);
}

void close_mapping(NativeHandle mapping) noexcept {
    ::CloseHandle(to_handle(mapping));
}

void close_file(NativeHandle file) noexcept {
    ::CloseHandle(to_handle(file));
}

unsigned int last_error() noexcept {
    return static_cast<unsigned int>(::GetLastError());
}

} // namespace plate_mend::platform
