#include "platform/Process.h"

#include "platform/posix/Errors.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <system_error>

namespace plate_mend::host::platform {

std::filesystem::path own_program() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

void survive_long_files() {
    std::signal(SIGXFSZ, SIG_IGN);
}

std::uint64_t own_id() {
    return static_cast<std::uint64_t>(::getpid());
}

void end_with(std::uint64_t parent) {
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0) {
        fail(errno, "prctl");
    }
    if (static_cast<std::uint64_t>(::getppid()) != parent) {
        ::_exit(EXIT_FAILURE); // It went before the line above.
    }
}

void end_after(unsigned seconds) {
    std::signal(SIGALRM, SIG_DFL);
    sigset_t alarm_only{};
    sigemptyset(&alarm_only);
    sigaddset(&alarm_only, SIGALRM);
    ::pthread_sigmask(SIG_UNBLOCK, &alarm_only, nullptr);
    ::alarm(seconds);
}

bool limit_memory(std::uint64_t bytes) {
#if defined(PLATE_MEND_LEAK_DETECTION)
    bytes = 0;
#endif
    if (bytes == 0) {
        return true;
    }
    rlimit old{};
    if (::getrlimit(RLIMIT_AS, &old) != 0) {
        return false;
    }
    const rlim_t most = std::min<rlim_t>(bytes, old.rlim_max); // Only root may raise the hard one.
    const rlimit limit{most, most};
    return ::setrlimit(RLIMIT_AS, &limit) == 0;
}

OwnMemory own_memory() {
    const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    std::uint64_t addresses = 0;
    std::uint64_t resident = 0;
    std::ifstream("/proc/self/statm") >> addresses >> resident;
    return {resident * page, addresses * page};
}

std::filesystem::path enter(const std::filesystem::path& folder) {
    std::filesystem::current_path(folder);
    return {};
}

void leave() noexcept {
    std::error_code ignored;
    std::filesystem::current_path("/", ignored);
}

} // namespace plate_mend::host::platform
