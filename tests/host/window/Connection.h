#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace test {

/// A connection to a port of this machine, for requests that are written by hand.
class Connection {
  public:
    /// Throws std::runtime_error where nobody listens.
    explicit Connection(std::uint16_t port, bool ipv6 = false);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    /// Sends bytes, as far as the other side takes them.
    void send(std::string_view bytes);

    /// All that comes until the other side closes.
    [[nodiscard]] std::string read_to_end();

  private:
    std::intptr_t socket_;
};

/// Whether this machine has the address ::1.
[[nodiscard]] bool has_ipv6();

} // namespace test
