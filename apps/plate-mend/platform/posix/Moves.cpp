#include "platform/Files.h"
#include "platform/posix/Errors.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace plate_mend::host::platform {

namespace {

bool is_no_service(int error) {
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

bool is_no_link(int error) {
    return is_no_service(error) || error == EPERM || error == EMLINK;
}

void rename_or_throw(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::rename(from.c_str(), to.c_str()) != 0) {
        fail_on(to);
    }
}

void move_after_check(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (is_taken(to)) {
        fail(EEXIST, to.native());
    }
    rename_or_throw(from, to);
}

void move_by_link(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), 0) != 0) {
        if (!is_no_link(errno)) {
            fail_on(to);
        }
        move_after_check(from, to);
        return;
    }
    if (::unlink(from.c_str()) != 0) {
        const int error = errno;
        ::unlink(to.c_str());
        fail(error, from.native());
    }
}

bool is_folder(const std::filesystem::path& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

void move_new(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return;
    }
    if (!is_no_service(errno)) {
        fail_on(to);
    }
    move_by_link(from, to);
}

void move_over(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (is_folder(to)) {
        fail(EISDIR, to.native());
    }
    rename_or_throw(from, to);
}

} // namespace plate_mend::host::platform
