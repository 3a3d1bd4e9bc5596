#pragma once

#include "window/Http.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace plate_mend::host {

/// Decides who may use the window: the browser that first opened its address, and pages from here in it.
///
/// There are three secrets, so that none is of use where another is needed. The key in the address is seen by
/// whatever opens it, and works only once. The cookie shows that a request is from the browser that used it.
/// The page's token shows that a change is asked for by our own page, and no other page can read it.
class Guard {
  public:
    /// For a server at this port. Throws std::system_error where the system has no random numbers.
    explicit Guard(std::uint16_t port);

    /// What to open in a browser.
    [[nodiscard]] std::string address() const;
    /// For our page, which sends it in the header X-Plate-Mend.
    [[nodiscard]] const std::string& page_token() const { return page_token_; }

    /// The response to a request that goes no further; nothing for one that may be answered. May be called
    /// by several threads.
    [[nodiscard]] std::optional<HttpResponse> stop(const HttpRequest& request);

  private:
    [[nodiscard]] bool is_for_us(const HttpRequest& request) const;
    [[nodiscard]] bool is_from_us(const HttpRequest& request) const;
    [[nodiscard]] bool has_cookie(const HttpRequest& request) const;
    [[nodiscard]] HttpResponse enter(const HttpRequest& request);

    std::string port_;
    std::string key_;
    std::string cookie_;
    std::string page_token_;
    std::atomic<bool> is_key_used_ = false;
};

} // namespace plate_mend::host
