#include "platform/Interrupt.h"

#include <windows.h>

#include <atomic>

namespace plate_mend::host::platform {

namespace {

std::atomic<bool> asked_to_end = false;

BOOL WINAPI remember(DWORD /*event*/) {
    asked_to_end = true;
    return TRUE;
}

} // namespace

void remember_interrupts() {
    asked_to_end = false;
    ::SetConsoleCtrlHandler(remember, TRUE);
}

bool interrupted() {
    return asked_to_end;
}

} // namespace plate_mend::host::platform
