#include "platform/Sockets.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace plate_mend::host::platform {

namespace {

/// Waits for an event, however often a signal interrupts.
bool wait_for(SocketNumber socket, short events, std::chrono::milliseconds time) {
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + time;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now()).count();
        pollfd one{static_cast<int>(socket), events, 0};
        const int ready = ::poll(&one, 1, static_cast<int>(std::clamp<long long>(left, 0, 1'000'000)));
        if (ready >= 0 || errno != EINTR) {
            return ready > 0;
        }
    }
}

std::optional<std::size_t> count_of(ssize_t result) {
    return result < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(result));
}

} // namespace

bool wait_to_read(SocketNumber socket, std::chrono::milliseconds time) {
    return wait_for(socket, POLLIN, time);
}

bool wait_to_write(SocketNumber socket, std::chrono::milliseconds time) {
    return wait_for(socket, POLLOUT, time);
}

std::optional<std::size_t> receive_some(SocketNumber socket, std::span<char> buffer) {
    return count_of(::recv(static_cast<int>(socket), buffer.data(), buffer.size(), 0));
}

std::optional<std::size_t> send_some(SocketNumber socket, std::string_view bytes) {
    return count_of(
        ::send(static_cast<int>(socket), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
}

void finish_sending(SocketNumber socket) {
    ::shutdown(static_cast<int>(socket), SHUT_WR);
}

void close_socket(SocketNumber socket) {
    ::close(static_cast<int>(socket));
}

void keep_from_children(SocketNumber socket) {
    ::fcntl(static_cast<int>(socket), F_SETFD, FD_CLOEXEC);
}

void keep_port_to_itself(SocketNumber /*socket*/) {
    // As it is, unless options for shared ports are set.
}

} // namespace plate_mend::host::platform
