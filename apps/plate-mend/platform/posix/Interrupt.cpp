#include "platform/Interrupt.h"

#include <csignal>
#include <initializer_list>

namespace plate_mend::host::platform {

namespace {

volatile std::sig_atomic_t asked_to_end = 0;

void remember(int /*signal*/) {
    asked_to_end = 1;
}

} // namespace

void remember_interrupts() {
    asked_to_end = 0;
    struct sigaction action {};
    action.sa_handler = remember;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
}

bool interrupted() {
    return asked_to_end != 0;
}

} // namespace plate_mend::host::platform
