#include "platform/Terminal.h"

#include <windows.h>

namespace plate_mend::host::platform {

namespace {

HANDLE handle_of(Stream stream) {
    return ::GetStdHandle(stream == Stream::kOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

} // namespace

bool is_terminal(Stream stream) {
    DWORD mode = 0;
    return ::GetConsoleMode(handle_of(stream), &mode) != FALSE;
}

std::size_t terminal_columns(Stream stream) {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const bool known = ::GetConsoleScreenBufferInfo(handle_of(stream), &info) != FALSE;
    return known && info.dwSize.X > 0 ? static_cast<std::size_t>(info.dwSize.X) : 80;
}

} // namespace plate_mend::host::platform
