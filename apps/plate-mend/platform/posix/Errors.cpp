#include "platform/posix/Errors.h"

#include <cerrno>
#include <system_error>

namespace plate_mend::host::platform {

void fail(int error, const std::string& what) {
    throw std::system_error(error, std::generic_category(), what);
}

void fail_on(const std::filesystem::path& path) {
    fail(errno, path.native());
}

} // namespace plate_mend::host::platform
