#pragma once

#include "support/Bytes.h"

namespace test {

/// A Fujifilm RAF photograph, laid out as a camera writes it: the file's own header, a JPEG with Exif (the
/// first TIFF header, IFD 0, IFD 1 with a thumbnail), an XMP packet, Huffman tables before quantisation
/// tables; then the table of the sensor's geometry, the raw section (the second TIFF header, tags 0xF000 to
/// 0xF008), and the raw data at the end, 14 bits in two bytes per pixel, low byte first. LibRaw opens and
/// decodes it, and the JPEG decodes too. In the raw data no FF comes before a byte above 3F.
struct RafPhoto {
    struct Options {
        unsigned number = 1; ///< Which photograph; another number is another photograph from the same camera.
        unsigned width = 160;
        unsigned height = 120;
        std::size_t maker_notes = 1024; ///< Bytes in the Exif, below 32 KiB: they set all offsets.
        Bytes picture{}; ///< A JPEG: what follows its SOI is after the XMP packet. The scene's if empty.
    };

    explicit RafPhoto(const Options& options);
    RafPhoto() : RafPhoto(Options{}) {}

    // All offsets are in the file.

    Bytes bytes;
    std::uint32_t jpeg = 0; ///< From here to jpeg_end.
    std::uint32_t jpeg_end = 0;
    std::uint32_t first_header = 0; ///< TIFF header of the Exif; IFD 0 follows.
    std::uint32_t ifd0_next_link = 0;
    std::uint32_t ifd1 = 0;
    std::uint32_t thumb_offset_entry = 0; ///< Tag 0x0201 in IFD 1.
    std::uint32_t thumb_size_entry = 0;   ///< Tag 0x0202 in IFD 1.
    std::uint32_t thumb = 0;
    std::uint32_t thumb_size = 0;
    std::uint32_t xpacket_end = 0;             ///< The text "xpacket end".
    std::uint32_t dht = 0;                     ///< The first FF C4 after it,
    std::uint32_t dqt = 0;                     ///< and the first FF DB after that.
    std::uint32_t second_header = 0;           ///< TIFF header of the raw section.
    std::uint32_t strip_offsets_entry = 0;     ///< Tag 0xF007, 100 bytes after that header.
    std::uint32_t strip_byte_counts_entry = 0; ///< Tag 0xF008.
    std::uint32_t image_offset = 0;            ///< The raw data; they go on to the end of the file.
    std::uint32_t image_size = 0;
};

/// The same bytes, laid out as the photograph's, with its thumbnail and its Huffman tables blanked: what a
/// repair leaves of the sample's working copy before the merge.
[[nodiscard]] Bytes blanked(Bytes bytes, const RafPhoto& photo);

/// What a repair must write: the sample up to its raw data, blanked, with this length, then the raw data; and
/// the same with the length and the raw data of the original.
[[nodiscard]] Bytes expected_output(const RafPhoto& sample, std::uint32_t length, const Bytes& raw_data);
[[nodiscard]] Bytes expected_output(const RafPhoto& sample, const RafPhoto& original, const Bytes& damaged);

} // namespace test
