#include "container/JpegHead.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>

namespace raw_mend {

namespace {

using byte_reader::ByteReader;

constexpr unsigned kStart = 0xFFD8;    // SOI.
constexpr unsigned kMostSegments = 64; // Cameras write about a dozen.

bool is_frame_header(unsigned marker) {
    const bool is_other = marker == 0xFFC4 || marker == 0xFFC8 || marker == 0xFFCC; // DHT, JPG, DAC.
    return marker >= 0xFFC0 && marker <= 0xFFCF && !is_other;
}

/// | marker (2) | length (2) | bits (1) | height (2) | width (2) | components (1) |
std::optional<JpegHead> frame_header(const ByteReader& reader, std::uint64_t at, unsigned marker) {
    const auto components = reader.u8(at + 9);
    if (!components) {
        return std::nullopt;
    }
    return JpegHead{.is_lossless = marker == 0xFFC3,
                    .width = *reader.u16(at + 7),
                    .height = *reader.u16(at + 5),
                    .bits = *reader.u8(at + 4),
                    .components = *components};
}

} // namespace

std::optional<JpegHead> read_jpeg_head(Bytes bytes, const Extent& extent) {
    if (extent.offset >= bytes.size()) {
        return std::nullopt;
    }
    const std::uint64_t length = std::min<std::uint64_t>(extent.length, bytes.size() - extent.offset);
    const ByteReader reader(
        bytes.subspan(static_cast<std::size_t>(extent.offset), static_cast<std::size_t>(length)),
        std::endian::big);
    if (reader.u16(0) != kStart) {
        return std::nullopt;
    }
    std::uint64_t at = 2;
    for (unsigned segment = 0; segment < kMostSegments; ++segment) {
        const unsigned marker = reader.u16(at).value_or(0);
        const unsigned segment_length = reader.u16(at + 2).value_or(0);
        if (marker <= 0xFF00 || segment_length < 2) {
            return std::nullopt;
        }
        if (is_frame_header(marker)) {
            return frame_header(reader, at, marker);
        }
        at += 2 + std::uint64_t{segment_length};
    }
    return std::nullopt;
}

} // namespace raw_mend
