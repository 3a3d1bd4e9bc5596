#include "platform/posix/Descriptor.h"

#include "platform/posix/Errors.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace plate_mend::host::platform {

Descriptor::~Descriptor() {
    if (number_ >= 0) {
        ::close(number_);
    }
}

Descriptor open_file(const std::filesystem::path& path, int flags, unsigned mode) {
    for (;;) {
        const int number = ::open(path.c_str(), flags | O_CLOEXEC, mode);
        if (number >= 0) {
            return Descriptor(number);
        }
        if (errno != EINTR) {
            fail_on(path);
        }
    }
}

void require_ordinary_file(const Descriptor& descriptor, const std::filesystem::path& path) {
    struct stat status {};
    if (::fstat(descriptor.number(), &status) != 0) {
        fail_on(path);
    }
    if (S_ISDIR(status.st_mode)) {
        fail(EISDIR, path.native());
    }
    if (!S_ISREG(status.st_mode)) {
        fail(EINVAL, path.native() + ": not an ordinary file");
    }
}

int flush(const Descriptor& descriptor) {
    while (::fsync(descriptor.number()) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

} // namespace plate_mend::host::platform
