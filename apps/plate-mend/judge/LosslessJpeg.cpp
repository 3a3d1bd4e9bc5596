#include "judge/LosslessJpeg.h"

#include <lossless_jpeg/Stream.h>

namespace plate_mend::host {

bool is_complete_lossless_jpeg(const std::vector<unsigned char>& bytes) {
    const auto head = lossless_jpeg::read_head(bytes, 0);
    return head && lossless_jpeg::check(bytes, *head).is_complete();
}

} // namespace plate_mend::host
