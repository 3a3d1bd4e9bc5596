#include "faults/Limits.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace test {

namespace {

constexpr ::uid_t kNobody = 65534;

/// Sets the soft limit, and gives the limits from before.
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

std::uint64_t address_space_in_use() {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
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

} // namespace test
