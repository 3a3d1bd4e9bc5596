#include "repair/WorkFolder.h"

#include "repair/WorkerFiles.h"

#include <array>
#include <system_error>

namespace plate_mend::host {

namespace fs = std::filesystem;

const fs::path& WorkFolder::in(const fs::path& parent) {
    std::error_code none;
    if (!folder_ || parent_ != parent || !fs::is_directory(folder_->path(), none)) {
        folder_.reset();
        folder_.emplace(parent);
        parent_ = parent;
    }
    return folder_->path();
}

/// What cannot be removed, such as a file that a virus scanner has open, must not get in the next file's way.
void WorkFolder::clear() {
    constexpr std::array kKept = {kTaskFile, kAnswerFile};
    if (folder_ && !folder_->clear(kKept)) {
        folder_.reset();
    }
}

} // namespace plate_mend::host
