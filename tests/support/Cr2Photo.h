#pragma once

#include "support/Bytes.h"
#include "support/TiffWriter.h"

namespace test {

/// A Canon CR2 photograph, laid out as a camera writes it: the 16-byte header, IFD 0 with a JPEG in a strip
/// and GPSInfo as its last entry, Exif and GPS directories, IFD 1 with the thumbnail JPEG, IFD 2 with a small
/// 16-bit RGB picture, IFD 3 with the raw strip, the pictures, and the raw data at the end: lossless JPEG of
/// 14 bits, two components, stored in two vertical slices. LibRaw opens and decodes it.
struct Cr2Photo {
    /// The components of the raw data's lossless JPEG. Small raw images have one of brightness and two of
    /// colour, which are half as wide, or half as wide and half as high.
    enum class Components { kTwo, kFour, kMediumRaw, kSmallRaw };

    struct Options {
        ByteOrder order = ByteOrder::kLittle;
        unsigned number = 1; ///< Which photograph; another number is another photograph from the same camera.
        unsigned width = 160; ///< A multiple of 4.
        unsigned height = 120;
        std::size_t maker_notes = 2048; ///< Bytes between Exif and IFD 1: they set the offsets after them.
        Bytes preview{};                ///< The JPEG of IFD 0; the scene's if empty.
        Components components = Components::kTwo;
    };

    explicit Cr2Photo(const Options& options);
    Cr2Photo() : Cr2Photo(Options{}) {}

    Bytes bytes;
    TiffDirectory ifd0;
    TiffDirectory ifd1;
    TiffDirectory ifd2;
    TiffDirectory raw_ifd;
    std::uint32_t preview_offset = 0;   ///< The picture of IFD 0.
    std::uint32_t thumbnail_offset = 0; ///< The picture of IFD 1.
    std::uint32_t small_offset = 0;     ///< The picture of IFD 2.
    std::uint32_t small_size = 0;
    std::uint32_t raw_offset = 0; ///< The raw data; they go on to the end of the file.
    std::uint32_t raw_size = 0;
};

/// The same bytes, laid out as the photograph's, with the starts of its JPEGs and its small picture blanked:
/// what a repair leaves of the sample's working copy before the merge.
[[nodiscard]] Bytes blanked(Bytes bytes, const Cr2Photo& photo);

/// What a repair must write: the sample up to its raw data, blanked, then the damaged file from the
/// original's raw data on.
[[nodiscard]] Bytes expected_output(const Cr2Photo& sample, const Cr2Photo& original, const Bytes& damaged);

} // namespace test
