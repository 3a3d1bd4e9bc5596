#include "judge/Preview.h"

#include "judge/Picture.h"

#include <libraw/libraw.h>

namespace plate_mend::host {

bool is_preview_whole(const std::filesystem::path& photograph) {
    LibRaw raw(0U);
    if (raw.open_file(photograph.c_str()) != LIBRAW_SUCCESS) {
        return false;
    }
    const auto& thumbnail = raw.imgdata.thumbnail;
    if (thumbnail.tlength == 0) {
        return true;
    }
    // LibRaw knows its format only afterwards.
    const int unpacked = raw.unpack_thumb();
    if (unpacked == LIBRAW_NO_THUMBNAIL || unpacked == LIBRAW_UNSUPPORTED_THUMBNAIL) {
        return true;
    }
    if (unpacked != LIBRAW_SUCCESS || thumbnail.thumb == nullptr) {
        return false;
    }
    if (thumbnail.tformat != LIBRAW_THUMBNAIL_JPEG) {
        return true;
    }
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): LibRaw has char for bytes.
    return is_jpeg_whole(reinterpret_cast<const unsigned char*>(thumbnail.thumb), thumbnail.tlength);
}

} // namespace plate_mend::host
