#include "platform/FileMapping.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

// Takes the place of the library's own mapping when a program is linked. The last byte of a file is the last
// one before a page that cannot be read, so that one byte too far stops the program. The page before
// the first byte's page cannot be read either. What was written to a view reaches the file when the view
// is closed.

namespace plate_mend::platform {

namespace {

struct View {
    unsigned char* bytes;
    MapMode mode;
    int file;
};

// A repair maps two files at once.
View views[4] = {};

std::size_t page_size() {
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::size_t rounded_up(std::size_t size) {
    return (size + page_size() - 1) / page_size() * page_size();
}

bool read_whole(int file, unsigned char* bytes, std::size_t size) {
    return ::pread(file, bytes, size, 0) == static_cast<ssize_t>(size);
}

} // namespace

std::uint64_t file_size(const std::filesystem::path& path) noexcept {
    struct ::stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return 0;
    }
    return static_cast<std::uint64_t>(status.st_size);
}

NativeHandle open_file(const std::filesystem::path& path, MapMode /*mode*/) noexcept {
    return ::open(path.c_str(), O_RDWR | O_CLOEXEC);
}

NativeHandle create_mapping(NativeHandle file, MapMode /*mode*/) noexcept {
    return file;
}

unsigned char* map_view(NativeHandle mapping, MapMode mode, std::uint64_t size) noexcept {
    const int file = static_cast<int>(mapping);
    const auto bytes = static_cast<std::size_t>(size);
    const std::size_t area = rounded_up(bytes);
    void* whole = ::mmap(nullptr, area + 2 * page_size(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (whole == MAP_FAILED) {
        return nullptr;
    }
    unsigned char* const first_page = static_cast<unsigned char*>(whole) + page_size();
    unsigned char* const view = first_page + (area - bytes);
    ::mprotect(first_page, area, PROT_READ | PROT_WRITE);
    for (View& place : views) {
        if (place.bytes == nullptr && read_whole(file, view, bytes)) {
            place = {view, mode, file};
            if (mode == MapMode::kReadOnly) {
                ::mprotect(first_page, area, PROT_READ);
            }
            return view;
        }
    }
    ::munmap(whole, area + 2 * page_size());
    errno = ENOMEM;
    return nullptr;
}

void unmap_view(unsigned char* view, std::uint64_t size) noexcept {
    const auto bytes = static_cast<std::size_t>(size);
    for (View& place : views) {
        if (place.bytes == view) {
            if (place.mode == MapMode::kReadWrite) {
                [[maybe_unused]] const ssize_t written = ::pwrite(place.file, view, bytes, 0);
            }
            place = {};
        }
    }
    const std::size_t area = rounded_up(bytes);
    ::munmap(view - (area - bytes) - page_size(), area + 2 * page_size());
}

void prefetch(std::span<const unsigned char> /*bytes*/) noexcept {} // All is in memory.

void close_mapping(NativeHandle /*mapping*/) noexcept {}

void close_file(NativeHandle file) noexcept {
    ::close(static_cast<int>(file));
}

unsigned int last_error() noexcept {
    return static_cast<unsigned int>(errno);
}

} // namespace plate_mend::platform
