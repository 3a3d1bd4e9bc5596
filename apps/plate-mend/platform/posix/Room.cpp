#include "platform/Files.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/SizeSignal.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <random>
#include <string>

namespace plate_mend::host::platform {

namespace {

constexpr int kTries = 16;

std::error_code code(int error) {
    return error == 0 ? std::error_code() : std::error_code(error, std::generic_category());
}

std::filesystem::path random_name() {
    std::random_device random;
    return ".plate-mend-room-" + std::to_string(random()) + std::to_string(random());
}

/// A file without a name in the folder. Throws std::system_error.
Descriptor open_temporary(const std::filesystem::path& folder) {
    for (int tries = 1;; ++tries) {
        const std::filesystem::path name = folder / random_name();
        try {
            Descriptor file = open_file(name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
            ::unlink(name.c_str());
            return file;
        } catch (const std::system_error& e) {
            if (e.code().value() != EEXIST || tries == kTries) {
                throw;
            }
        }
    }
}

bool is_of_the_system(const std::error_code& error) {
    const char* category = error.category().name();
    return std::strcmp(category, "generic") == 0 || std::strcmp(category, "system") == 0;
}

int error_by_free_space(const Descriptor& file, std::uint64_t bytes) {
    struct statvfs system {};
    if (::fstatvfs(file.number(), &system) != 0) {
        return errno;
    }
    return system.f_bavail < bytes / system.f_frsize + (bytes % system.f_frsize != 0 ? 1 : 0) ? ENOSPC : 0;
}

/// Reserves the bytes without writing them: on a memory card that takes no time.
int error_of_reserving(const Descriptor& file, std::uint64_t bytes) {
    const SizeSignalHeldBack held_back;
    while (::fallocate(file.number(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(bytes)) != 0) {
        if (errno == EOPNOTSUPP || errno == ENOSYS) {
            return error_by_free_space(file, bytes);
        }
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

} // namespace

bool exceeds_largest_file(std::uint64_t bytes) {
    rlimit limit{};
    return ::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
           bytes > limit.rlim_cur;
}

std::error_code room_for(const std::filesystem::path& folder, std::uint64_t bytes) {
    try {
        const Descriptor file = open_temporary(folder);
        if (bytes > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()) ||
            exceeds_largest_file(bytes)) {
            return code(EFBIG);
        }
        return code(bytes == 0 ? 0 : error_of_reserving(file, bytes));
    } catch (const std::system_error& e) {
        return e.code();
    } catch (const std::exception&) {
        return code(ENOMEM);
    }
}

bool means_unreadable(const std::error_code& error) {
    return is_of_the_system(error) && (error.value() == EIO || error.value() == EILSEQ);
}

bool means_no_room(const std::error_code& error) {
    const int value = error.value();
    return is_of_the_system(error) && (value == ENOSPC || value == EDQUOT || value == EFBIG);
}

} // namespace plate_mend::host::platform
