#include "platform/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace raw_mend {

namespace {

constexpr std::size_t kMostAtOnce = 1U << 30U; // No system writes more in one call.

} // namespace

OutputFile::Created OutputFile::create(const std::filesystem::path& path) {
    path_ = path;
    handle_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (handle_ >= 0) {
        return Created::kYes;
    }
    return errno == EEXIST ? Created::kExists : Created::kUnwritable;
}

bool OutputFile::write(Bytes bytes) {
    while (!bytes.empty()) {
        const ssize_t count =
            ::write(static_cast<int>(handle_), bytes.data(), std::min(bytes.size(), kMostAtOnce));
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes = bytes.subspan(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    return true;
}

bool OutputFile::finish() {
    const bool closed = ::close(static_cast<int>(handle_)) == 0;
    handle_ = -1;
    if (!closed) {
        ::unlink(path_.c_str());
    }
    return closed;
}

void OutputFile::discard() noexcept {
    if (handle_ >= 0) {
        ::unlink(path_.c_str());
        ::close(static_cast<int>(handle_));
        handle_ = -1;
    }
}

} // namespace raw_mend
