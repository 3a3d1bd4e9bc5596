#include "platform/posix/SizeSignal.h"

#include <cerrno>
#include <ctime>

namespace plate_mend::host::platform {

SizeSignalHeldBack::SizeSignalHeldBack() {
    sigset_t pending{};
    sigemptyset(&pending);
    ::sigpending(&pending);
    was_pending_ = sigismember(&pending, SIGXFSZ) == 1;
    sigemptyset(&signal_);
    sigaddset(&signal_, SIGXFSZ);
    ::pthread_sigmask(SIG_BLOCK, &signal_, &old_mask_);
}

SizeSignalHeldBack::~SizeSignalHeldBack() {
    const int error = errno;
    const timespec at_once{};
    // The kernel sends it to the thread that wrote, so it waits here if it came.
    while (!was_pending_ && ::sigtimedwait(&signal_, nullptr, &at_once) < 0 && errno == EINTR) {
    }
    ::pthread_sigmask(SIG_SETMASK, &old_mask_, nullptr);
    errno = error;
}

} // namespace plate_mend::host::platform
