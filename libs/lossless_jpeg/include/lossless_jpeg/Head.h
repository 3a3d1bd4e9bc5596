#pragma once

#include <jpeg_bits/HuffmanTable.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace lossless_jpeg {

using Bytes = std::span<const unsigned char>;

/// A marker segment.
struct Segment {
    unsigned char code = 0;   ///< The marker's second byte.
    std::uint64_t offset = 0; ///< That of the marker's FF, fill bytes not included.
    unsigned length = 0;      ///< As the segment states it: at least 2; the marker is not included.

    bool operator==(const Segment&) const = default;
};

/// A component of the frame.
struct Component {
    unsigned char id = 0;
    unsigned horizontal = 1; ///< Sampling factors, 0 to 15.
    unsigned vertical = 1;
    unsigned table = 0; ///< The Huffman table that the scan uses for it, 0 to 3.

    bool operator==(const Component&) const = default;
};

/// What is before the entropy-coded data of a lossless JPEG with one scan: SOI, then marker segments up to
/// SOS.
struct Head {
    std::uint64_t begin = 0;       ///< Offset of SOI.
    std::uint64_t end = 0;         ///< Offset of the entropy-coded data.
    std::vector<Segment> segments; ///< In order; the last one is SOS.

    unsigned precision = 0;            ///< Bits per sample. A decoder needs 2 to 16.
    unsigned width = 0;                ///< 1 to 65535.
    unsigned height = 0;               ///< 1 to 65535.
    std::vector<Component> components; ///< One to four.
    unsigned predictor = 0;            ///< Ss. A decoder needs 1 to 7.
    unsigned point_transform = 0;      ///< Al, 0 to 15.
    unsigned restart_interval = 0;     ///< In MCUs; 0 for none.
    /// Those that a component uses are there, and their symbols are at most 16.
    std::array<std::optional<jpeg_bits::HuffmanCodes>, 4> tables;

    /// Samples of all components in all MCUs.
    [[nodiscard]] std::uint64_t samples() const;
};

/// The most marker segments and fill bytes that a head may have.
inline constexpr std::size_t kMostSegments = 64;
inline constexpr std::size_t kMostFillBytes = 256;

/// The head whose SOI is at the offset, or nothing if there is none: the bytes end before its end, the scan
/// does not hold all components, or a table is missing or not a prefix code. Reads at most the head, and
/// copies at most kMostSegments segments.
[[nodiscard]] std::optional<Head> read_head(Bytes bytes, std::uint64_t offset);

} // namespace lossless_jpeg
