#pragma once

#include "support/Bytes.h"
#include "support/TiffWriter.h"

#include <cstdint>

namespace test {

/// What an SR2 is to look like.
struct Sr2Options {
    ByteOrder order = ByteOrder::kLittle;
    unsigned scene = 1;
    unsigned width = 96;
    unsigned height = 64;
    unsigned preview_width = 64;
    unsigned preview_height = 48;
    Bytes preview{}; ///< The JPEG of IFD 0; the scene's if empty.
};

/// A Sony SR2, and where its parts are. LibRaw decodes both byte orders.
///
///   header   IFD 0   IFD 1   Sub IFD   (each with its values)   preview   thumbnail   raw image
///
/// IFD 0 names the preview, IFD 1 the thumbnail. In the Sub IFD, Orientation and SamplesPerPixel are between
/// StripOffsets and RowsPerStrip, so the strip entries are at distances 0, 36 and 48. The raw image is one
/// strip of 16-bit samples without compression, in the file's byte order.
struct Sr2Photo {
    Bytes bytes;
    TiffDirectory ifd0;
    TiffDirectory ifd1;
    TiffDirectory sub_ifd;
    std::uint32_t preview = 0; ///< Offset.
    std::uint32_t preview_size = 0;
    std::uint32_t thumbnail = 0; ///< Offset.
    std::uint32_t thumbnail_size = 0;
    std::uint32_t image = 0; ///< The value of StripOffsets.
    std::uint32_t image_size = 0;
    std::vector<std::uint16_t> samples; ///< What a decoder must give, row by row.
};

[[nodiscard]] Sr2Photo make_sr2(const Sr2Options& options = {});

/// The same bytes, laid out as the photograph's, with the starts of its two pictures blanked: what a repair
/// leaves of the sample's working copy before the merge.
[[nodiscard]] Bytes blanked(Bytes bytes, const Sr2Photo& photo);

/// What a repair must write: the sample up to its image, blanked, with the byte count of the original, then
/// the damaged file from the original's image on.
[[nodiscard]] Bytes expected_output(const Sr2Photo& sample, const Sr2Photo& original, const Bytes& damaged);

} // namespace test
