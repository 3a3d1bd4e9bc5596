#include "platform/Files.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/Errors.h"
#include "platform/posix/Stamp.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace plate_mend::host::platform {

namespace {

constexpr int kLockTries = 100;

/// Locks an open file. Returns whether no other process holds the lock.
bool try_lock(const Descriptor& file, const std::filesystem::path& path) {
    while (::flock(file.number(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK) {
            return false;
        }
        if (errno != EINTR) {
            fail_on(path);
        }
    }
    return true;
}

/// Whether the path still leads to the open file, which may have been removed meanwhile.
bool has_name(const Descriptor& file, const std::filesystem::path& path) {
    struct stat named {};
    if (::lstat(path.c_str(), &named) != 0) {
        return false;
    }
    const FileStamp opened = stamp_of_open(file.number());
    return opened.volume == named.st_dev && opened.index == named.st_ino;
}

} // namespace

struct Lock::State {
    Descriptor file;
};

Lock::Lock(std::unique_ptr<State> state) : state_(std::move(state)) {}
Lock::Lock(Lock&& other) noexcept = default;
Lock& Lock::operator=(Lock&& other) noexcept = default;
Lock::~Lock() = default;

std::optional<Lock> Lock::take(const std::filesystem::path& file) {
    for (int tries = 0; tries < kLockTries; ++tries) {
        Descriptor opened = open_file(file, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0666);
        require_ordinary_file(opened, file);
        if (!try_lock(opened, file)) {
            return std::nullopt;
        }
        if (has_name(opened, file)) {
            return Lock(std::make_unique<State>(State{std::move(opened)}));
        }
    }
    fail(EAGAIN, file.native());
}

} // namespace plate_mend::host::platform
