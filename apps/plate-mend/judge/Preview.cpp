#include "judge/Preview.h"

#include "files/FileBytes.h"
#include "judge/Picture.h"
#include "judge/RawDecoder.h"

namespace plate_mend::host {

bool is_preview_whole(const std::filesystem::path& photograph) {
    RawDecoder decoder;
    if (!decoder.open(photograph)) {
        return false;
    }
    const EmbeddedPreview preview = decoder.unpack_preview();
    return preview.unpacks && (!preview.jpeg || is_jpeg_whole(preview.jpeg->data(), preview.jpeg->size()));
}

bool is_lost_in_preview(const std::filesystem::path& damaged) {
    RawDecoder decoder;
    FileBytes bytes(damaged);
    return decoder.open(damaged) && !decoder.preview_ends_in_its_place(bytes);
}

} // namespace plate_mend::host
