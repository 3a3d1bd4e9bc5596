#include "host/window/Connection.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <array>
#include <stdexcept>

namespace test {

namespace {

template <typename Address>
std::intptr_t connected(int family, const Address& address) {
    const SOCKET number = ::socket(family, SOCK_STREAM, 0);
    if (number == INVALID_SOCKET ||
        ::connect(number, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::closesocket(number);
        throw std::runtime_error("nobody listens");
    }
    return static_cast<std::intptr_t>(number);
}

std::intptr_t connected(std::uint16_t port, bool ipv6) {
    if (ipv6) {
        sockaddr_in6 address{};
        address.sin6_family = AF_INET6;
        address.sin6_port = ::htons(port);
        address.sin6_addr = in6addr_loopback;
        return connected(AF_INET6, address);
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = ::htons(port);
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    return connected(AF_INET, address);
}

} // namespace

Connection::Connection(std::uint16_t port, bool ipv6) : socket_(connected(port, ipv6)) {}

Connection::~Connection() {
    ::closesocket(static_cast<SOCKET>(socket_));
}

void Connection::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const int count =
            ::send(static_cast<SOCKET>(socket_), bytes.data(), static_cast<int>(bytes.size()), 0);
        if (count <= 0) {
            return;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

std::string Connection::read_to_end() {
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
        const int count =
            ::recv(static_cast<SOCKET>(socket_), buffer.data(), static_cast<int>(buffer.size()), 0);
        if (count <= 0) {
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

} // namespace test
