#include <mapped_file/MappedFile.h>

#include <windows.h>

#include <limits>
#include <new>

namespace mapped_file {

namespace {

bool means_no_room(DWORD error) {
    return error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY || error == ERROR_COMMITMENT_LIMIT;
}

} // namespace

bool MappedFile::open(const std::filesystem::path& path) {
    close();
    const HANDLE file =
        ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    LARGE_INTEGER length{};
    bool no_room = false;
    bool opened = ::GetFileType(file) == FILE_TYPE_DISK && ::GetFileSizeEx(file, &length) != 0 &&
                  static_cast<ULONGLONG>(length.QuadPart) <= std::numeric_limits<std::size_t>::max();
    if (opened && length.QuadPart > 0) {
        const HANDLE mapping = ::CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
        const void* view = mapping == nullptr ? nullptr : ::MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
        opened = view != nullptr;
        no_room = !opened && means_no_room(::GetLastError());
        if (opened) {
            data_ = static_cast<const unsigned char*>(view);
            size_ = static_cast<std::size_t>(length.QuadPart);
        }
        if (mapping != nullptr) {
            ::CloseHandle(mapping); // The view keeps the mapping open.
        }
    }
    ::CloseHandle(file);
    if (no_room) {
        throw std::bad_alloc();
    }
    return opened;
}

void MappedFile::close() {
    if (data_ != nullptr) {
        ::UnmapViewOfFile(data_);
        data_ = nullptr;
        size_ = 0;
    }
}

} // namespace mapped_file
