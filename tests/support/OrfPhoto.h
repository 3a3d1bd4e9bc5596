#pragma once

#include "support/Bytes.h"
#include "support/TiffWriter.h"

#include <cstdint>

namespace test {

/// What an ORF is to look like.
struct OrfOptions {
    ByteOrder order = ByteOrder::kLittle; ///< "IIRO", or "MMOR".
    unsigned scene = 1;
    unsigned width = 96; ///< A multiple of 8.
    unsigned height = 64;
    unsigned preview_width = 64;
    unsigned preview_height = 48;
    Bytes preview{}; ///< The large JPEG; the scene's if empty.
};

/// An Olympus ORF, and where its parts are. LibRaw decodes both byte orders.
///
///   header   IFD 0 and its values   Exif IFD   thumbnail   preview   raw image
///
/// Both pictures are JPEGs that begin with FF D8 FF DB, without a JFIF segment, as this maker's cameras write
/// them; no tag names them. The raw image is one strip of 12-bit samples without compression, packed into
/// 32-bit words: the first sample is in the highest bits of word 0, and each word is stored least
/// significant byte first, whatever the file's byte order.
struct OrfPhoto {
    Bytes bytes;
    TiffDirectory ifd0;
    std::uint32_t thumbnail = 0; ///< Offset.
    std::uint32_t thumbnail_size = 0;
    std::uint32_t preview = 0; ///< Offset.
    std::uint32_t preview_size = 0;
    std::uint32_t image = 0; ///< The value of StripOffsets.
    std::uint32_t image_size = 0;
    std::vector<std::uint16_t> samples; ///< What a decoder must give, row by row.
};

[[nodiscard]] OrfPhoto make_orf(const OrfOptions& options = {});

/// The same bytes, laid out as the photograph's, with the starts of its two pictures blanked: what a repair
/// leaves of the sample's working copy before the merge.
[[nodiscard]] Bytes blanked(Bytes bytes, const OrfPhoto& photo);

/// What a repair must write: the sample up to its image, blanked, with the byte count of the original, then
/// the damaged file from the original's image on.
[[nodiscard]] Bytes expected_output(const OrfPhoto& sample, const OrfPhoto& original, const Bytes& damaged);

} // namespace test
