#include "window/Board.h"

namespace plate_mend::host {

void Board::wait_beyond(std::uint64_t version, std::chrono::milliseconds time) const {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, time, [&] { return version_ != version || is_released_; });
}

void Board::release() {
    const std::lock_guard lock(mutex_);
    is_released_ = true;
    changed_.notify_all();
}

} // namespace plate_mend::host
