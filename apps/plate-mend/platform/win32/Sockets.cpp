#include "platform/Sockets.h"

#include <winsock2.h>

#include <algorithm>
#include <limits>

namespace plate_mend::host::platform {

namespace {

SOCKET handle_of(SocketNumber socket) {
    return static_cast<SOCKET>(socket);
}

timeval interval_of(std::chrono::milliseconds time) {
    const auto whole = std::clamp<long long>(time.count(), 0, 1'000'000);
    return {static_cast<long>(whole / 1000), static_cast<long>(whole % 1000 * 1000)};
}

int length_of(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

std::optional<std::size_t> count_of(int result) {
    return result < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(result));
}

} // namespace

bool wait_to_read(SocketNumber socket, std::chrono::milliseconds time) {
    fd_set set{};
    set.fd_count = 1;
    set.fd_array[0] = handle_of(socket);
    timeval interval = interval_of(time);
    return ::select(0, &set, nullptr, nullptr, &interval) > 0;
}

bool wait_to_write(SocketNumber socket, std::chrono::milliseconds time) {
    fd_set set{};
    set.fd_count = 1;
    set.fd_array[0] = handle_of(socket);
    timeval interval = interval_of(time);
    return ::select(0, nullptr, &set, nullptr, &interval) > 0;
}

std::optional<std::size_t> receive_some(SocketNumber socket, std::span<char> buffer) {
    return count_of(::recv(handle_of(socket), buffer.data(), length_of(buffer.size()), 0));
}

std::optional<std::size_t> send_some(SocketNumber socket, std::string_view bytes) {
    return count_of(::send(handle_of(socket), bytes.data(), length_of(bytes.size()), 0));
}

void finish_sending(SocketNumber socket) {
    ::shutdown(handle_of(socket), SD_SEND);
}

void close_socket(SocketNumber socket) {
    ::closesocket(handle_of(socket));
}

void keep_from_children(SocketNumber /*socket*/) {
    // They inherit only what they are given.
}

void keep_port_to_itself(SocketNumber socket) {
    const BOOL yes = TRUE;
    ::setsockopt(handle_of(socket), SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&yes),
                 sizeof yes);
}

} // namespace plate_mend::host::platform
