#pragma once

#include "support/Bytes.h"
#include "support/TiffWriter.h"

namespace test {

/// A DNG photograph (DNG 1.4), laid out as a converter writes it: IFD 0 with a preview, a block of private
/// data, the sub-directories (the main image among further previews), the JPEGs of the previews, and the main
/// image at the end: tiles of lossless JPEG (14 bits), end to end, each as long as its content needs. LibRaw
/// opens and decodes it to samples().
struct DngPhoto {
    struct Options {
        ByteOrder order = ByteOrder::kLittle;
        unsigned number = 1; ///< Which photograph; another number is another photograph from the same camera.
        unsigned width = 192;
        unsigned height = 128;
        unsigned tile_width = 64;
        unsigned tile_height = 64;
        std::size_t private_data = 2048; ///< Bytes between IFD 0 and what follows: they set all offsets.
        std::size_t sub_previews = 2;    ///< Sub-directories beside the main image's.
        std::size_t main_index = 1;      ///< The main image's place in SubIFDs, and in the file.
        Bytes preview{};                 ///< The JPEG of the last sub-directory's; the scene's if empty.
    };

    explicit DngPhoto(const Options& options);
    DngPhoto() : DngPhoto(Options{}) {}

    [[nodiscard]] std::size_t tiles() const { return tile_offsets.size(); }

    /// The file offsets of the two lists' numbers: four bytes per tile.
    [[nodiscard]] std::uint32_t offset_slot(std::size_t tile) const;
    [[nodiscard]] std::uint32_t byte_count_slot(std::size_t tile) const;

    ByteOrder order;
    Bytes bytes;
    std::vector<std::uint16_t> samples; ///< What the main image holds, row by row.
    TiffDirectory ifd0;
    TiffDirectory main_ifd;
    std::vector<TiffDirectory> preview_ifds;    ///< The sub-directories with previews.
    std::vector<std::uint32_t> preview_offsets; ///< The previews of IFD 0 and of preview_ifds.
    std::vector<std::uint32_t> preview_sizes;
    std::uint32_t main_entry = 0; ///< The main image's NewSubfileType entry.
    std::vector<std::uint32_t> tile_offsets;
    std::vector<std::uint32_t> tile_byte_counts;
};

/// The same bytes, laid out as the photograph's, with the starts of its previews blanked: what a repair
/// leaves of the sample's working copy before the merge.
[[nodiscard]] Bytes blanked(Bytes bytes, const DngPhoto& photo);

/// The working copy before it is copied: blanked, with tables of the original's tiles end to end from the
/// sample's first tile on.
[[nodiscard]] Bytes patched(const DngPhoto& sample, const DngPhoto& original);

/// Where the last tile ends.
[[nodiscard]] std::size_t end_of_tiles(const DngPhoto& photo);

/// What a repair must write: the patched sample up to its first tile, then the damaged file's bytes at the
/// place of the original's tiles.
[[nodiscard]] Bytes expected_output(const DngPhoto& sample, const DngPhoto& original, const Bytes& damaged);

} // namespace test
