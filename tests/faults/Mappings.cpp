#include "faults/Mappings.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

// Takes the place of the system's mapping in a program that is linked with --wrap for mmap and munmap. The
// pages before a mapped file and after it cannot be read, so that a look past its pages stops the
// program.

// The linker makes these names.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-inconsistent-declaration-parameter-name)
extern "C" {
void* __real_mmap(void* address, std::size_t size, int protection, int flags, int file, ::off_t offset);
int __real_munmap(void* address, std::size_t size);
void* __wrap_mmap(void* address, std::size_t size, int protection, int flags, int file, ::off_t offset);
int __wrap_munmap(void* address, std::size_t size);
}
// NOLINTEND(bugprone-reserved-identifier,readability-inconsistent-declaration-parameter-name)

namespace {

/// A mapped file, without the pages around it.
struct View {
    unsigned char* bytes = nullptr;
    std::size_t size = 0; ///< A multiple of the page size.
};

View views[4]; // A repair maps two files at once.
std::size_t mapped = 0;
std::function<void(std::size_t number)> listener_of_mappings;

std::size_t page_size() {
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::size_t whole_pages(std::size_t size) {
    return (size + page_size() - 1) / page_size() * page_size();
}

void tell_listener() {
    ++mapped;
    if (listener_of_mappings) {
        listener_of_mappings(mapped);
    }
}

} // namespace

namespace test {

void on_mapping(std::function<void(std::size_t number)> listener) {
    listener_of_mappings = std::move(listener);
    mapped = 0;
}

} // namespace test

void* __wrap_mmap(void* address, std::size_t size, int protection, int flags, int file, ::off_t offset) {
    View* free = nullptr;
    for (View& view : views) {
        free = view.bytes == nullptr ? &view : free;
    }
    if (file < 0 || address != nullptr || free == nullptr) {
        return __real_mmap(address, size, protection, flags, file, offset);
    }
    const std::size_t pages = whole_pages(size);
    void* const around = __real_mmap(nullptr, pages + 2 * page_size(), PROT_NONE,
                                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (around == MAP_FAILED) {
        return MAP_FAILED;
    }
    unsigned char* const first = static_cast<unsigned char*>(around) + page_size();
    if (__real_mmap(first, size, protection, flags | MAP_FIXED, file, offset) == MAP_FAILED) {
        const int error = errno;
        __real_munmap(around, pages + 2 * page_size());
        errno = error;
        return MAP_FAILED;
    }
    *free = {first, pages};
    tell_listener();
    return first;
}

int __wrap_munmap(void* address, std::size_t size) {
    for (View& view : views) {
        if (view.bytes != nullptr && view.bytes == address) {
            const View ended = std::exchange(view, {});
            return __real_munmap(ended.bytes - page_size(), ended.size + 2 * page_size());
        }
    }
    return __real_munmap(address, size);
}
