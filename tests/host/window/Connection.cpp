#include "host/window/Connection.h"

#include "platform/Sockets.h"

#include <httplib.h> // For the system's headers of sockets.

#include <array>
#include <chrono>
#include <optional>
#include <stdexcept>

namespace test {

namespace {

namespace platform = plate_mend::host::platform;

/// So long may a side that reads nothing, or sends nothing, keep a test waiting.
constexpr std::chrono::minutes kPatience{2};

template <typename Address>
std::intptr_t connected(int family, const Address& address) {
    const socket_t number = ::socket(family, SOCK_STREAM, 0);
    if (number == INVALID_SOCKET) {
        throw std::runtime_error("there is no socket");
    }
    const auto socket = static_cast<platform::SocketNumber>(number);
    platform::keep_from_children(socket);
    if (::connect(number, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        platform::close_socket(socket);
        throw std::runtime_error("nobody listens");
    }
    return socket;
}

sockaddr_in6 ipv6_address(std::uint16_t port) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    address.sin6_addr = in6addr_loopback;
    return address;
}

std::intptr_t connected(std::uint16_t port, bool ipv6) {
    if (ipv6) {
        return connected(AF_INET6, ipv6_address(port));
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return connected(AF_INET, address);
}

} // namespace

Connection::Connection(std::uint16_t port, bool ipv6) : socket_(connected(port, ipv6)) {}

Connection::~Connection() {
    platform::close_socket(socket_);
}

void Connection::send(std::string_view bytes) {
    while (!bytes.empty() && platform::wait_to_write(socket_, kPatience)) {
        const auto count = platform::send_some(socket_, bytes);
        if (!count) {
            return;
        }
        bytes.remove_prefix(*count);
    }
}

std::string Connection::read_to_end() {
    std::string text;
    std::array<char, 4096> buffer{};
    while (platform::wait_to_read(socket_, kPatience)) {
        const std::size_t count = platform::receive_some(socket_, buffer).value_or(0);
        if (count == 0) {
            break;
        }
        text.append(buffer.data(), count);
    }
    return text;
}

bool has_ipv6() {
    const socket_t number = ::socket(AF_INET6, SOCK_STREAM, 0);
    if (number == INVALID_SOCKET) {
        return false;
    }
    const sockaddr_in6 address = ipv6_address(0);
    const bool is_bound = ::bind(number, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    platform::close_socket(static_cast<platform::SocketNumber>(number));
    return is_bound;
}

} // namespace test
