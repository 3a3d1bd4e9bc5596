#pragma once

#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

namespace still_mend {

/// What a fatal error of libjpeg becomes, but for a lack of memory: that is std::bad_alloc.
struct JpegError {};

/// libjpeg's error manager with errors as exceptions and nothing printed. Warnings are counted.
[[nodiscard]] jpeg_error_mgr* quiet_errors(jpeg_error_mgr& errors);

} // namespace still_mend
