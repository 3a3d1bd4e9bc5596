#include "window/Pictures.h"

namespace plate_mend::host {

std::optional<Spool::Place> Pictures::add(const std::string& jpeg) {
    if (jpeg.empty()) {
        return std::nullopt;
    }
    const std::lock_guard lock(mutex_);
    if (!spool_) {
        private_ = std::make_unique<PrivateFolder>(folder_);
        spool_ = std::make_unique<Spool>(private_->path() / "pictures");
    }
    return spool_->add(jpeg);
}

std::string Pictures::read(const Spool::Place& place) {
    const std::lock_guard lock(mutex_);
    return spool_ ? spool_->read(place) : "";
}

} // namespace plate_mend::host
