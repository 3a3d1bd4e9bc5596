#pragma once

#include "support/Bytes.h"
#include "support/TiffWriter.h"

#include <cstdint>
#include <vector>

namespace test {

/// What an SR2 or an ORF is to look like.
struct StripPhotoOptions {
    ByteOrder order = ByteOrder::kLittle; ///< ORF: "IIRO", or "MMOR".
    unsigned scene = 1;
    unsigned width = 96; ///< ORF: a multiple of 8.
    unsigned height = 64;
    unsigned preview_width = 64;
    unsigned preview_height = 48;
    Bytes preview{}; ///< The large JPEG; the scene's if empty.
};

/// An SR2 or an ORF, and where its parts are: two JPEGs, and a raw image that is one strip. The entries of
/// RowsPerStrip and StripByteCounts are 36 and 48 bytes after that of StripOffsets.
struct StripPhoto {
    Bytes bytes;
    TiffDirectory ifd0{};
    TiffDirectory ifd1{};      ///< Empty in an ORF.
    TiffDirectory sub_ifd{};   ///< Empty in an ORF.
    std::uint32_t preview = 0; ///< Offset.
    std::uint32_t preview_size = 0;
    std::uint32_t thumbnail = 0; ///< Offset.
    std::uint32_t thumbnail_size = 0;
    std::uint32_t image = 0; ///< The value of StripOffsets.
    std::uint32_t image_size = 0;
    std::vector<std::uint16_t> samples; ///< What a decoder must return, row by row.

    /// The directory of the raw image: the Sub IFD of an SR2, IFD 0 of an ORF.
    [[nodiscard]] const TiffDirectory& image_ifd() const { return sub_ifd.tags.empty() ? ifd0 : sub_ifd; }
};

/// Fills in the sizes of the photograph's three pictures.
void set_sizes(StripPhoto& photo, const Bytes& preview, const Bytes& thumbnail, const Bytes& image);

/// The same bytes, laid out as the photograph's, with the starts of its two JPEGs blanked: what a repair
/// leaves of the sample's working copy before the merge.
[[nodiscard]] Bytes blanked(Bytes bytes, const StripPhoto& photo);

/// What a repair must write: the sample up to its image, blanked, with the byte count of the original, then
/// the damaged file from the original's image on.
[[nodiscard]] Bytes expected_output(const StripPhoto& sample, const StripPhoto& original,
                                    const Bytes& damaged);

} // namespace test
