#include "platform/RawFile.h"

#include <libraw/libraw.h>

namespace plate_mend::platform {

int open_raw(LibRaw& raw, const std::filesystem::path& path) {
    return raw.open_file(path.c_str());
}

} // namespace plate_mend::platform
