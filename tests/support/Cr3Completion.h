#pragma once

#include "support/Bytes.h"

#include <array>
#include <vector>

namespace test {

/// Which of a head's tracks a completed file has, and how its tables say where they are.
struct Cr3Shape {
    enum class Sizes { kAsTheHead, kFixed, kTable };

    /// The head's tracks by their numbers from 1, in the order of the boxes and of the data. One that is
    /// there twice is a second raw image.
    std::vector<unsigned> tracks{1, 2, 3, 4};
    Sizes sizes = Sizes::kAsTheHead; ///< One size for all samples of a track ("stsz"), or a table.
    bool wide_offsets = true;        ///< "co64", or "stco".
    bool wide_mdat = true;           ///< The size of mdat in 64 bits.
    std::size_t alignment = 1;       ///< The tracks begin at multiples of it; zeros are between them.
    std::size_t after = 0;           ///< Bytes of a box of filler after mdat, 8 or more.
};

struct Cr3Contents {
    Bytes thumbnail; ///< The JPEGs in THMB and PRVW. Empty: that of the head.
    Bytes preview;
    std::vector<Bytes> tracks; ///< The data of the shape's tracks.
};

/// A whole CR3.
struct CompletedCr3 {
    struct Run {
        std::size_t offset = 0;
        std::size_t size = 0;
    };
    Bytes bytes;
    std::vector<Run> tracks;
    std::size_t moov_end = 0;
    std::size_t mdat = 0;    ///< Offset of its header.
    std::size_t payload = 0; ///< After that.

    [[nodiscard]] Bytes track(std::size_t nth) const {
        return part(bytes, tracks[nth].offset, tracks[nth].offset + tracks[nth].size);
    }
};

/// Completes the head of a camera's file, whose ftyp and moov must be whole: its boxes, as far as they are
/// whole, with mdat after them, and numbers that are right for it.
[[nodiscard]] CompletedCr3 complete_cr3(const Bytes& head, const Cr3Shape& shape,
                                        const Cr3Contents& contents);

/// Bytes with the headers of a raw track and noise for coded data, of a total length. Lossy ones have large
/// headers, three wavelet levels (ten bands per plane), and a table of quantizers before the planes.
struct CrxKind {
    unsigned tiles = 1;
    bool lossy = false;
    [[nodiscard]] std::size_t header_size() const;
};
[[nodiscard]] Bytes noisy_crx(const CrxKind& kind, std::size_t length, unsigned seed);

} // namespace test
