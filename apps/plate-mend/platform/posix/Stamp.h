#pragma once

#include "platform/Files.h"

#include <sys/stat.h>

namespace plate_mend::host::platform {

[[nodiscard]] FileStamp stamp_from(const struct stat& status);

/// The stamp of an open file. Throws std::system_error.
[[nodiscard]] FileStamp stamp_of_open(int descriptor);

} // namespace plate_mend::host::platform
