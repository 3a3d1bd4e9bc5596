#include "host/window/Connection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace test {

namespace {

template <typename Address>
int connected(int family, const Address& address) {
    const int number = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (number < 0 || ::connect(number, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(number);
        throw std::runtime_error("nobody listens");
    }
    return number;
}

int connected(std::uint16_t port, bool ipv6) {
    if (ipv6) {
        sockaddr_in6 address{};
        address.sin6_family = AF_INET6;
        address.sin6_port = htons(port);
        address.sin6_addr = in6addr_loopback;
        return connected(AF_INET6, address);
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
    ::close(static_cast<int>(socket_));
}

void Connection::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(static_cast<int>(socket_), bytes.data(), bytes.size(), MSG_NOSIGNAL);
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
        const ssize_t count = ::recv(static_cast<int>(socket_), buffer.data(), buffer.size(), 0);
        if (count <= 0) {
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

} // namespace test
