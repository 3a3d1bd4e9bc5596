#include "platform/Interrupt.h"

#include <atomic>
#include <csignal>
#include <initializer_list>

namespace plate_mend::host::platform {

namespace {

// Written by a signal, read by several threads.
std::atomic<bool> asked_to_end = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void remember(int /*signal*/) {
    asked_to_end = true;
}

/// Set by nohup: then the closing of the terminal is no reason to end.
bool is_ignored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

void remember_interrupts() {
    asked_to_end = false;
    struct sigaction action {};
    action.sa_handler = remember;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (signal != SIGHUP || !is_ignored(signal)) {
            ::sigaction(signal, &action, nullptr);
        }
    }
}

bool interrupted() {
    return asked_to_end;
}

} // namespace plate_mend::host::platform
