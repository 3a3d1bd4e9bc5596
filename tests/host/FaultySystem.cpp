#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <dlfcn.h>
#include <fcntl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

// Loaded before the system's library by the programs that tests start. What is to fail is in the environment:
//
//   FAULTY_NAME     a file whose medium has bad sectors; to be read by pread only
//   FAULTY_SECTORS  which: "0 17 18"
//   FAULTY_MARK     a file that is created when FAULTY_NAME is read in another way
//   FAULTY_THREADS  how many threads can be started
//   FAULTY_MEMORY   set: address space cannot be limited

namespace {

constexpr std::uint64_t kSector = 512;

/// Whether a descriptor is of the file with bad sectors.
bool is_faulty(int descriptor) {
    const char* name = std::getenv("FAULTY_NAME");
    if (name == nullptr || descriptor < 0) {
        return false;
    }
    std::array<char, 64> link{};
    std::strcpy(link.data(), "/proc/self/fd/");
    std::array<char, 12> digits{};
    std::size_t count = 0;
    do {
        digits[count++] = static_cast<char>('0' + descriptor % 10);
        descriptor /= 10;
    } while (descriptor != 0);
    std::reverse_copy(digits.data(), digits.data() + count, link.data() + std::strlen(link.data()));
    std::array<char, 4096> target{};
    const ssize_t length = ::readlink(link.data(), target.data(), target.size());
    const std::string_view path(target.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    return path.substr(path.find_last_of('/') + 1) == name;
}

/// The beginning of the first bad sector that ends after an offset.
std::uint64_t first_bad_after(std::uint64_t offset) {
    const char* sectors = std::getenv("FAULTY_SECTORS");
    std::uint64_t first = UINT64_MAX;
    while (sectors != nullptr && *sectors != '\0') {
        char* end = nullptr;
        const std::uint64_t start = std::strtoull(sectors, &end, 10) * kSector;
        if (end == sectors) {
            break;
        }
        sectors = end;
        first = start + kSector > offset ? std::min(first, start) : first;
    }
    return first;
}

/// As a system reads a file with bad sectors: up to the first.
ssize_t read_at(int descriptor, void* data, std::size_t count, off_t offset) {
    if (is_faulty(descriptor)) {
        const std::uint64_t bad = first_bad_after(static_cast<std::uint64_t>(offset));
        if (bad <= static_cast<std::uint64_t>(offset)) {
            errno = EIO;
            return -1;
        }
        count = static_cast<std::size_t>(
            std::min<std::uint64_t>(count, bad - static_cast<std::uint64_t>(offset)));
    }
    return ::syscall(SYS_pread64, descriptor, data, count, offset);
}

/// Notes that a file was read in a way that does not know of sectors, and lets that fail.
bool fails_in_another_way(int descriptor) {
    if (!is_faulty(descriptor)) {
        return false;
    }
    if (const char* mark = std::getenv("FAULTY_MARK")) {
        ::close(::open(mark, O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
    }
    errno = EIO;
    return true;
}

void* map(void* address, std::size_t length, int protection, int flags, int descriptor, off_t offset) {
    if (fails_in_another_way(descriptor)) {
        return MAP_FAILED;
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the system gives addresses as numbers.
    return reinterpret_cast<void*>(
        ::syscall(SYS_mmap, address, length, protection, flags, descriptor, offset));
}

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the system's own names are reserved ones.
extern "C" {

ssize_t pread(int descriptor, void* data, std::size_t count, off_t offset) {
    return read_at(descriptor, data, count, offset);
}

ssize_t pread64(int descriptor, void* data, std::size_t count, off64_t offset) {
    return read_at(descriptor, data, count, offset);
}

ssize_t read(int descriptor, void* data, std::size_t count) {
    return fails_in_another_way(descriptor) ? -1 : ::syscall(SYS_read, descriptor, data, count);
}

ssize_t copy_file_range(int in, off64_t* in_offset, int out, off64_t* out_offset, std::size_t count,
                        unsigned flags) {
    return fails_in_another_way(in)
               ? -1
               : ::syscall(SYS_copy_file_range, in, in_offset, out, out_offset, count, flags);
}

ssize_t sendfile(int out, int in, off_t* offset, std::size_t count) {
    return fails_in_another_way(in) ? -1 : ::syscall(SYS_sendfile, out, in, offset, count);
}

void* mmap(void* address, std::size_t length, int protection, int flags, int descriptor,
           off_t offset) noexcept {
    return map(address, length, protection, flags, descriptor, offset);
}

void* mmap64(void* address, std::size_t length, int protection, int flags, int descriptor,
             off64_t offset) noexcept {
    return map(address, length, protection, flags, descriptor, offset);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                   void* argument) noexcept {
    static std::atomic<long> started = 0;
    const char* most = std::getenv("FAULTY_THREADS");
    if (most != nullptr && started++ >= std::strtol(most, nullptr, 10)) {
        return EAGAIN;
    }
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto create = reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "pthread_create"));
    return create(thread, attributes, function, argument);
}

int setrlimit(__rlimit_resource_t resource, const rlimit* limit) noexcept {
    if (resource == RLIMIT_AS && std::getenv("FAULTY_MEMORY") != nullptr) {
        errno = EPERM;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_prlimit64, 0, resource, limit, nullptr));
}

} // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
