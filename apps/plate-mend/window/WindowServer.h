#pragma once

#include "window/Guard.h"
#include "window/HttpServer.h"
#include "window/Window.h"

#include <memory>
#include <string>

namespace plate_mend::host {

/// The window with its server and its guard.
class WindowServer {
  public:
    /// Answers from now on. Throws MachineFailure where there is no free port, and std::system_error.
    explicit WindowServer(WindowSettings settings, const HttpLimits& limits = {});
    WindowServer(const WindowServer&) = delete;
    WindowServer& operator=(const WindowServer&) = delete;
    /// Stops what is under way, and answers nothing any more.
    ~WindowServer();

    /// What to open in a browser.
    [[nodiscard]] std::string address() const { return guard_.address(); }
    [[nodiscard]] const HttpServer& server() const { return *server_; }

    /// Why wait() returned.
    enum class End {
        kOver,   ///< The page asked for it, or nobody has been there for too long.
        kByUser, ///< The user asked the program to end.
    };
    [[nodiscard]] End wait() const;

  private:
    std::unique_ptr<HttpServer> server_;
    Guard guard_;
    Window window_;
};

} // namespace plate_mend::host
