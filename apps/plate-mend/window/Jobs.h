#pragma once

#include <functional>
#include <mutex>
#include <thread>

namespace plate_mend::host {

/// One job at a time, on a thread of its own. May be used by several threads.
class Jobs {
  public:
    Jobs() = default;
    Jobs(const Jobs&) = delete;
    Jobs& operator=(const Jobs&) = delete;
    ~Jobs() = default; ///< Stops the job, and waits until it has ended.

    /// Stops the job before, waits until it has ended, and begins another, which must not throw. It notices
    /// with check_interruption() when it is to stop.
    void begin(std::function<void()> job);

    /// Asks the job to stop.
    void stop();

    /// Asks the job to stop, and waits until it has ended.
    void end();

  private:
    std::mutex mutex_;
    std::jthread thread_;
};

} // namespace plate_mend::host
