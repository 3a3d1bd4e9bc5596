#include "coding/JpegEnd.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>

namespace raw_mend {

namespace {

using byte_reader::ByteReader;

constexpr unsigned kSoiMarker = 0xFFD8;
constexpr unsigned kEoi = 0xFFD9;
constexpr unsigned kSosMarker = 0xFFDA;
constexpr unsigned kLeastSegment = 0xFFC0; // Lower codes are reserved, or part of coded data.
constexpr unsigned kFirstRestart = 0xFFD0;
constexpr unsigned kComment = 0xFFFE;

/// The first marker after entropy-coded data that is no restart marker; the end of the bytes if there is
/// none.
std::uint64_t skip_coded_data(Bytes bytes, std::uint64_t offset) {
    auto at = bytes.begin() + static_cast<std::ptrdiff_t>(std::min<std::uint64_t>(offset, bytes.size()));
    while ((at = std::find(at, bytes.end(), 0xFF)) != bytes.end()) {
        const auto next = at + 1;
        if (next == bytes.end() || (*next != 0 && (*next < 0xD0 || *next > 0xD7) && *next != 0xFF)) {
            break;
        }
        at = *next == 0xFF ? next : next + 1;
    }
    return static_cast<std::uint64_t>(at - bytes.begin());
}

} // namespace

std::optional<std::uint64_t> find_jpeg_end(Bytes bytes, std::uint64_t offset) {
    const ByteReader reader(bytes, std::endian::big);
    if (reader.u16(offset) != kSoiMarker) {
        return std::nullopt;
    }
    std::uint64_t at = offset + 2;
    bool scanned = false;
    while (true) {
        const unsigned marker = reader.u16(at).value_or(0);
        if (marker == kEoi) {
            return scanned ? std::optional(at + 2) : std::nullopt;
        }
        const unsigned length = reader.u16(at + 2).value_or(0);
        const bool alone = marker >= kFirstRestart && marker <= kEoi; // Without a length.
        if (marker < kLeastSegment || marker > kComment || alone || length < 2) {
            return std::nullopt;
        }
        at += 2 + std::uint64_t{length};
        if (marker == kSosMarker) {
            scanned = true;
            at = skip_coded_data(bytes, at);
        }
    }
}

} // namespace raw_mend
