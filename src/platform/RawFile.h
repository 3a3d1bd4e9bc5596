#pragma once

#include <filesystem>

class LibRaw;

namespace plate_mend::platform {

/// LibRaw::open_file in the form that accepts every path of the system. Returns LIBRAW_SUCCESS or an error.
/// After a success recycle the object, and read no image from it.
[[nodiscard]] int open_raw(LibRaw& raw, const std::filesystem::path& path);

} // namespace plate_mend::platform
