#pragma once

#include "window/Http.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace plate_mend::host {

/// What a client may cost.
struct HttpLimits {
    std::size_t head = 16 << 10;            ///< Bytes of request line and headers.
    std::size_t headers = 64;               ///< Lines. Browsers send about twenty.
    std::size_t body = 256 << 10;           ///< Bytes.
    std::size_t connections = 64;           ///< At a time; more are closed at once.
    std::chrono::milliseconds time{10'000}; ///< For a request to arrive, and for its response to be taken.
};

/// An HTTP server for this machine only, at 127.0.0.1 and, where there is such an address, at ::1 with the
/// same port. Each connection has its own thread and serves one request, so that a slow client keeps nobody
/// waiting. Of a request's headers, only those that the window uses are let through. Responses forbid a page
/// to load, run or send anything that is not from here, and to be kept, framed or read by others.
class HttpServer {
  public:
    /// Takes a free port. Throws MachineFailure where there is none.
    explicit HttpServer(const HttpLimits& limits = {});
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    /// Closes the port, and waits until requests that are under way have been answered.
    ~HttpServer();

    [[nodiscard]] std::uint16_t port() const;
    /// Whether it can be reached at ::1 too.
    [[nodiscard]] bool has_ipv6() const;

    /// Begins to answer. Must be called only once.
    void serve(const HttpHandler& handler);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace plate_mend::host
