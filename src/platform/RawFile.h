#pragma once

#include <filesystem>

class LibRaw;

namespace plate_mend::platform {

/// LibRaw::open_file in the form that takes every path of the system. LIBRAW_SUCCESS or an error. After a
/// success the object is to be recycled, and no image to be read from it.
[[nodiscard]] int open_raw(LibRaw& raw, const std::filesystem::path& path);

} // namespace plate_mend::platform
