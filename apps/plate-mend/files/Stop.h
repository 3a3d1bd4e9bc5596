#pragma once

#include <stop_token>

// A request to stop one job of this program. Ctrl-C stops all of them.

namespace plate_mend::host {

/// While it exists, the work of this thread heeds requests through a token, as it heeds Ctrl-C. Scopes of one
/// thread end in the opposite order, and before the thread does.
class StopScope {
  public:
    explicit StopScope(std::stop_token token);
    StopScope(const StopScope&) = delete;
    StopScope& operator=(const StopScope&) = delete;
    ~StopScope();

  private:
    friend std::stop_token current_stop();

    std::stop_token token_;
    const StopScope* previous_;
};

/// The token that this thread heeds, for threads that it starts. One without requests where there is none.
[[nodiscard]] std::stop_token current_stop();

} // namespace plate_mend::host
