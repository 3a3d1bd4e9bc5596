#pragma once

#include <cstdint>

namespace raw_mend {

/// How the samples of a row are stored.
enum class Packing {
    kBytes,           ///< 8 bits.
    kLittleWords,     ///< 16-bit words, low byte first.
    kBigWords,        ///< 16-bit words, high byte first.
    kPackedHighFirst, ///< No gaps; the first sample begins at the highest bit of the first byte.
    kPackedLowFirst,  ///< No gaps; the first sample begins at the lowest bit of the first byte.
    kCells,           ///< 16 bytes for 16 samples of every second column: Sony's fixed rate.
};

/// The geometry of an image whose rows all have the same number of bytes.
struct RowGeometry {
    Packing packing = Packing::kBytes;
    unsigned bits = 8; ///< Per sample: 8 to 16. 11 for cells.
    std::uint64_t row_bytes = 0;
    std::uint64_t rows = 0;
    unsigned samples_per_pixel = 1;
    unsigned cfa_period = 2; ///< Rows and columns until the colours repeat; 1 without a colour filter.

    /// Bytes after which a sample begins at the start of a byte again; 16 for cells.
    [[nodiscard]] unsigned group_bytes() const;
    /// Samples in so many bytes; 1 for cells, which only begin and end together.
    [[nodiscard]] unsigned group_units() const;
    /// Units from one sample to the next of its colour in the same row.
    [[nodiscard]] unsigned step() const { return samples_per_pixel * cfa_period; }
    /// Units in the whole groups of a row.
    [[nodiscard]] std::uint64_t row_units() const { return row_bytes / group_bytes() * group_units(); }
    /// Bytes of the image.
    [[nodiscard]] std::uint64_t image_bytes() const { return row_bytes * rows; }

    /// Whether rows are whole groups. Only those of packed samples need not be.
    [[nodiscard]] bool is_even() const { return row_bytes % group_bytes() == 0; }

    /// Whether the phase of such rows can be searched for: sensible numbers, at least 64 units in a row and
    /// at most 2^20 bytes, and at most 2^20 rows.
    [[nodiscard]] bool supported() const;

    bool operator==(const RowGeometry&) const = default;
};

} // namespace raw_mend
