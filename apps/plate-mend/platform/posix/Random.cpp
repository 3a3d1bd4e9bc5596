#include "platform/Random.h"

#include "platform/posix/Errors.h"

#include <sys/random.h>

#include <cerrno>
#include <cstddef>

namespace plate_mend::host::platform {

void fill_with_random(std::span<unsigned char> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::getrandom(bytes.data(), bytes.size(), 0);
        if (count > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            fail(errno, "getrandom");
        }
    }
}

} // namespace plate_mend::host::platform
