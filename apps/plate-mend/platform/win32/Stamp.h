#pragma once

#include "platform/Files.h"
#include "platform/win32/Handle.h"

namespace plate_mend::host::platform {

/// The stamp of an open file; of what is neither a file nor a folder, one that says only that. Throws
/// std::system_error about the path.
[[nodiscard]] FileStamp stamp_of_open(const Handle& file, const std::filesystem::path& path);

} // namespace plate_mend::host::platform
