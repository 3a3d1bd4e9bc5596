#pragma once

#include <csignal>

namespace plate_mend::host::platform {

/// While it exists, a write beyond the limit on file sizes fails with EFBIG in this thread, and the signal
/// that would end the process does not come.
class SizeSignalHeldBack {
  public:
    SizeSignalHeldBack();
    SizeSignalHeldBack(const SizeSignalHeldBack&) = delete;
    SizeSignalHeldBack& operator=(const SizeSignalHeldBack&) = delete;
    ~SizeSignalHeldBack();

  private:
    sigset_t signal_{};
    sigset_t old_mask_{};
    bool was_pending_ = false;
};

} // namespace plate_mend::host::platform
