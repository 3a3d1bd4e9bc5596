#include "faults/Limits.h"

#include <linux/magic.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

namespace test {

namespace {

constexpr ::uid_t kNobody = 65534;
constexpr int kNotMounted = 77;

/// Sets the soft limit, and returns the limits from before.
::rlimit limited(int resource, std::uint64_t bytes) {
    ::rlimit old{};
    ::getrlimit(static_cast<__rlimit_resource>(resource), &old);
    ::rlimit wanted = old;
    wanted.rlim_cur = bytes;
    if (::setrlimit(static_cast<__rlimit_resource>(resource), &wanted) != 0) {
        throw std::system_error(errno, std::generic_category(), "setrlimit");
    }
    return old;
}

/// A field of statm, from 0 on, in bytes.
std::uint64_t memory_in_use(int field) {
    std::uint64_t pages = 0;
    std::ifstream file("/proc/self/statm");
    for (int index = 0; index <= field; ++index) {
        file >> pages;
    }
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

std::uint64_t address_space_in_use() {
    return memory_in_use(0);
}

std::uint64_t private_memory_in_use() {
    return memory_in_use(5);
}

} // namespace

FileSizeLimit::FileSizeLimit(std::uint64_t bytes)
    : old_(limited(RLIMIT_FSIZE, bytes)), old_handler_(std::signal(SIGXFSZ, SIG_IGN)) {}

FileSizeLimit::~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, old_handler_);
}

AddressSpaceLimit::AddressSpaceLimit(std::uint64_t more_bytes)
    : old_(limited(RLIMIT_AS, address_space_in_use() + more_bytes)) {}

AddressSpaceLimit::~AddressSpaceLimit() {
    ::setrlimit(RLIMIT_AS, &old_);
}

bool AddressSpaceLimit::is_possible() {
    return address_space_in_use() < std::uint64_t{1} << 40U;
}

PrivateMemoryLimit::PrivateMemoryLimit(std::uint64_t more_bytes)
    : old_(limited(RLIMIT_DATA, private_memory_in_use() + more_bytes)) {}

PrivateMemoryLimit::~PrivateMemoryLimit() {
    ::setrlimit(RLIMIT_DATA, &old_);
}

WithoutPrivileges::WithoutPrivileges() : old_(::geteuid()) {
    if (old_ == 0 && ::seteuid(kNobody) != 0) {
        throw std::system_error(errno, std::generic_category(), "seteuid");
    }
}

WithoutPrivileges::~WithoutPrivileges() {
    if (old_ == 0) {
        [[maybe_unused]] const int result = ::seteuid(old_);
    }
}

int status_of_child(const std::function<void()>& function) {
    const ::pid_t child = ::fork();
    if (child == 0) {
        function();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
}

std::size_t small_file_system() {
    return 4 * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::optional<int> result_on_small_file_system(const std::filesystem::path& place,
                                               const std::function<int()>& function) {
    const int status = status_of_child([&] {
        const std::string options = "size=" + std::to_string(small_file_system());
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("tmpfs", place.c_str(), "tmpfs", 0, options.c_str()) != 0) {
            ::_exit(kNotMounted);
        }
        ::_exit(function());
    });
    if (!WIFEXITED(status)) {
        return -1;
    }
    return WEXITSTATUS(status) == kNotMounted ? std::nullopt : std::optional(WEXITSTATUS(status));
}

bool holes_take_memory(const std::filesystem::path& folder) {
    struct ::statfs system {};
    return ::statfs(folder.c_str(), &system) == 0 && system.f_type == TMPFS_MAGIC;
}

} // namespace test
