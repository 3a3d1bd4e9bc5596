#include "platform/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace plate_mend::host::platform {

namespace {

int number_of(Stream stream) {
    return stream == Stream::kOutput ? STDOUT_FILENO : STDERR_FILENO;
}

} // namespace

bool is_terminal(Stream stream) {
    return ::isatty(number_of(stream)) != 0;
}

std::size_t terminal_columns(Stream stream) {
    winsize size{};
    return ::ioctl(number_of(stream), TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : 80;
}

} // namespace plate_mend::host::platform
