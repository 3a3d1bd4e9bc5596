#pragma once

#include "support/Bytes.h"
#include "support/TiffWriter.h"

namespace test {

/// A Nikon NEF photograph, laid out as a camera writes it: IFD 0 with an RGB thumbnail in a strip, a block of
/// maker notes, the sub-directory of the preview JPEG, the sub-directory of the raw image, the pictures, and
/// the raw data at the end, uncompressed. LibRaw opens and decodes it.
struct NefPhoto {
    struct Options {
        ByteOrder order = ByteOrder::kBig;
        unsigned number = 1; ///< Which photograph; another number is another photograph from the same camera.
        unsigned bits = 12;  ///< 12: packed, two samples in three bytes. 14: in two bytes each.
        unsigned width = 160;
        unsigned height = 120;
        std::size_t maker_notes = 2048; ///< Bytes after IFD 0: they set the offsets after them.
        Bytes preview{};                ///< The JPEG of the first sub-directory; the scene's if empty.
    };

    explicit NefPhoto(const Options& options);
    NefPhoto() : NefPhoto(Options{}) {}

    Bytes bytes;
    TiffDirectory ifd0;
    TiffDirectory preview_ifd;
    TiffDirectory raw_ifd;
    std::uint32_t thumbnail_offset = 0; ///< The picture of IFD 0.
    std::uint32_t thumbnail_size = 0;
    std::uint32_t preview_offset = 0; ///< The JPEG of the first sub-directory.
    std::uint32_t sub_ifds_list = 0;  ///< The two offsets of the sub-directories.
    std::uint32_t raw_offset = 0;     ///< The raw data; they go on to the end of the file.
    std::uint32_t raw_size = 0;
};

/// The same bytes, laid out as the photograph's, with its thumbnail and the start of its preview blanked:
/// what a repair leaves of the sample's working copy before the merge.
[[nodiscard]] Bytes blanked(Bytes bytes, const NefPhoto& photo);

/// What a repair must write: the sample up to its raw data, blanked, then the damaged file from the
/// original's raw data on.
[[nodiscard]] Bytes expected_output(const NefPhoto& sample, const NefPhoto& original, const Bytes& damaged);

} // namespace test
