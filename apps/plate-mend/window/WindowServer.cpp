#include "window/WindowServer.h"

#include "platform/Interrupt.h"

#include <thread>
#include <utility>

namespace plate_mend::host {

namespace {

/// Requests to end come as signals, which wake nobody.
constexpr std::chrono::milliseconds kBetweenLooks{100};

} // namespace

WindowServer::WindowServer(WindowSettings settings, const HttpLimits& limits)
    : server_(std::make_unique<HttpServer>(limits)), guard_(server_->port()),
      window_(std::move(settings), guard_.page_token()) {
    server_->serve([this](const HttpRequest& request) {
        const auto stopped = guard_.stop(request);
        return stopped ? *stopped : window_.answer(request);
    });
}

WindowServer::~WindowServer() {
    window_.end();
    server_.reset();
}

WindowServer::End WindowServer::wait() const {
    while (!window_.is_over()) {
        if (platform::interrupted()) {
            return End::kByUser;
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }
    return End::kOver;
}

} // namespace plate_mend::host
