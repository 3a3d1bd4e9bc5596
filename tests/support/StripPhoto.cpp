#include "support/StripPhoto.h"

#include "support/TiffTags.h"

#include <utility>

namespace test {

void set_sizes(StripPhoto& photo, const Bytes& preview, const Bytes& thumbnail, const Bytes& image) {
    photo.preview_size = static_cast<std::uint32_t>(preview.size());
    photo.thumbnail_size = static_cast<std::uint32_t>(thumbnail.size());
    photo.image_size = static_cast<std::uint32_t>(image.size());
}

Bytes blanked(Bytes bytes, const StripPhoto& photo) {
    bytes = zeroed(std::move(bytes), photo.preview, photo.preview + 30);
    return zeroed(std::move(bytes), photo.thumbnail, photo.thumbnail + 30);
}

Bytes expected_output(const StripPhoto& sample, const StripPhoto& original, const Bytes& damaged) {
    Bytes head = part(blanked(sample.bytes, sample), 0, sample.image);
    const std::uint32_t byte_count = original.image_ifd().value(kStripByteCounts);
    put_bytes(head, sample.image_ifd().value(kStripByteCounts),
              part(original.bytes, byte_count, byte_count + 4));
    return joined(head, part(damaged, original.image, damaged.size()));
}

} // namespace test
