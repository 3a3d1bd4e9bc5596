#pragma once

#include "support/Bytes.h"
#include "support/TiffWriter.h"

#include <string>

namespace test {

/// A Sony ARW photograph, laid out as a camera writes it: IFD 0 with a preview, a block of maker notes, IFD 1
/// with a thumbnail, the Sub IFD with the raw strip, IFD 2 with a second preview, the three JPEGs, and the
/// raw data at the end, 14 bits in two bytes per pixel. LibRaw opens and decodes it.
struct ArwPhoto {
    struct Options {
        ByteOrder order = ByteOrder::kLittle;
        unsigned number = 1; ///< Which photograph; another number is another photograph from the same camera.
        unsigned width = 160;
        unsigned height = 120;
        std::size_t maker_notes = 2048; ///< Bytes between IFD 0 and what follows: they set the image offset.
        Bytes preview{};                ///< The JPEG of IFD 0; the scene's if empty.
        std::string date = "2026:11:21 17:40:00"; ///< In its directories.
    };

    explicit ArwPhoto(const Options& options);
    ArwPhoto() : ArwPhoto(Options{}) {}

    Bytes bytes;
    TiffDirectory ifd0;
    TiffDirectory sub_ifd;
    TiffDirectory ifd1;
    TiffDirectory ifd2;
    std::uint32_t strip_entries = 0;            ///< The StripOffsets entry; the other two follow it.
    std::vector<std::uint32_t> preview_offsets; ///< The JPEGs of IFD 0, IFD 1, IFD 2.
    std::uint32_t image_offset = 0;             ///< The raw data; they go on to the end of the file.
    std::uint32_t image_size = 0;
};

/// The same bytes, laid out as the photograph's, with the starts of its three pictures blanked: what a repair
/// leaves of the sample's working copy before the merge.
[[nodiscard]] Bytes blanked(Bytes bytes, const ArwPhoto& photo);

/// What a repair must write: the sample up to its image, blanked, with the byte count of the original, then
/// the damaged file from the original's image on.
[[nodiscard]] Bytes expected_output(const ArwPhoto& sample, const ArwPhoto& original, const Bytes& damaged);

} // namespace test
