#include "window/Jobs.h"

#include "files/Stop.h"

#include <utility>

namespace plate_mend::host {

void Jobs::begin(std::function<void()> job) {
    const std::lock_guard lock(mutex_);
    thread_ = {}; // Stops and joins.
    thread_ = std::jthread([job = std::move(job)](std::stop_token stop) {
        const StopScope scope(std::move(stop));
        job();
    });
}

void Jobs::stop() {
    const std::lock_guard lock(mutex_);
    thread_.request_stop();
}

void Jobs::end() {
    const std::lock_guard lock(mutex_);
    thread_ = {};
}

} // namespace plate_mend::host
