#include "platform/FileMapping.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace plate_mend::platform {

std::uint64_t file_size(const std::filesystem::path& path) noexcept {
    struct ::stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < 0) {
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
    const int protection = mode == MapMode::kReadOnly ? PROT_READ : PROT_READ | PROT_WRITE;
    const int flags = mode == MapMode::kCopyOnWrite ? MAP_PRIVATE : MAP_SHARED;
    void* view =
        ::mmap(nullptr, static_cast<std::size_t>(size), protection, flags, static_cast<int>(mapping), 0);
    return view == MAP_FAILED ? nullptr : static_cast<unsigned char*>(view);
}

void prefetch(std::span<const unsigned char> bytes) noexcept {
#if defined(MADV_POPULATE_READ)
    constexpr int kAdvice = MADV_POPULATE_READ; // Linux since 5.14; also maps the pages.
#else
    constexpr int kAdvice = MADV_WILLNEED;
#endif
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const std::uintptr_t in_page = reinterpret_cast<std::uintptr_t>(bytes.data()) % page;
    auto* const first = const_cast<unsigned char*>(bytes.data()) - in_page; // Nothing is written.
    (void)::madvise(first, bytes.size() + in_page, kAdvice);
}

void unmap_view(unsigned char* view, std::uint64_t size) noexcept {
    ::munmap(view, static_cast<std::size_t>(size));
}

void close_mapping(NativeHandle /*mapping*/) noexcept {}

void close_file(NativeHandle file) noexcept {
    ::close(static_cast<int>(file));
}

unsigned int last_error() noexcept {
    return static_cast<unsigned int>(errno);
}

} // namespace plate_mend::platform
