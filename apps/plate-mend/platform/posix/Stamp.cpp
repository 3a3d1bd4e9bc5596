#include "platform/posix/Stamp.h"

#include "platform/posix/Errors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

#include <fcntl.h>
#include <sys/stat.h>

namespace plate_mend::host::platform {

namespace {

/// Times beyond the years 1678 and 2262 become the nearest representable ones.
std::int64_t nanoseconds(const timespec& time) {
    constexpr std::int64_t kSecond = 1'000'000'000;
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / kSecond - 1;
    return std::clamp<std::int64_t>(time.tv_sec, -kMost, kMost) * kSecond + time.tv_nsec;
}

bool is_missing(int error) {
    return error == ENOENT || error == ENOTDIR;
}

} // namespace

FileStamp stamp_from(const struct stat& status) {
    FileStamp stamp;
    stamp.volume = status.st_dev;
    stamp.index = status.st_ino;
    stamp.links = status.st_nlink;
    stamp.size = static_cast<std::uint64_t>(status.st_size);
    stamp.modified = nanoseconds(status.st_mtim);
    stamp.changed = nanoseconds(status.st_ctim);
    stamp.regular = S_ISREG(status.st_mode);
    stamp.folder = S_ISDIR(status.st_mode);
    return stamp;
}

FileStamp stamp_of_open(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) {
        fail(errno, "fstat");
    }
    return stamp_from(status);
}

std::optional<FileStamp> stamp_of(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        return stamp_from(status);
    }
    if (!is_missing(errno)) {
        fail_on(path);
    }
    return std::nullopt;
}

bool is_taken(const std::filesystem::path& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0) {
        return true;
    }
    if (!is_missing(errno)) {
        fail_on(path);
    }
    return false;
}

void set_modified(const std::filesystem::path& file, std::int64_t modified) {
    constexpr std::int64_t kSecond = 1'000'000'000;
    const std::int64_t past = (modified % kSecond + kSecond) % kSecond; // Before 1970, too.
    std::array<timespec, 2> times{};
    times[0].tv_nsec = UTIME_OMIT; // When it was last read.
    times[1].tv_sec = static_cast<time_t>((modified - past) / kSecond);
    times[1].tv_nsec = static_cast<decltype(times[1].tv_nsec)>(past);
    if (::utimensat(AT_FDCWD, file.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) != 0) {
        fail_on(file);
    }
}

} // namespace plate_mend::host::platform
