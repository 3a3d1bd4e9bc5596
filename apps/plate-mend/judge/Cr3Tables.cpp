#include "judge/Cr3Tables.h"

#include "files/FileBytes.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <optional>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;

constexpr std::size_t kSearched = std::size_t{4} << 20U;     ///< "moov" is at the start of the file.
constexpr std::uint64_t kFarthest = std::uint64_t{1} << 40U; ///< No chunk offset is this high.

/// The length of a track by the "stsz" at an offset; 0 where it has more than one sample.
///
///   | "stsz" | version and flags (4) | size of all samples, or 0 (4) | sample count (4) | sizes (4 each) |
std::uint64_t track_length(const ByteReader& bytes, std::uint64_t stsz) {
    const std::uint64_t size_of_all = bytes.u32(stsz + 8).value_or(0);
    const std::uint64_t count = bytes.u32(stsz + 12).value_or(0);
    return count != 1 ? 0 : size_of_all != 0 ? size_of_all : bytes.u32(stsz + 16).value_or(0);
}

/// The offset of a track by the "co64" at an offset; nothing where it has more than one chunk.
///
///   | "co64" | version and flags (4) | chunk count (4) | chunk offsets (8 each) |
std::optional<std::uint64_t> track_offset(const ByteReader& bytes, std::uint64_t co64) {
    return bytes.u32(co64 + 8) == 1U ? bytes.u64(co64 + 12) : std::nullopt;
}

/// One past the last byte of the last track; 0 where no tables survive.
std::uint64_t tracks_end(const ByteReader& bytes) {
    constexpr std::uint64_t kTable = 24; // The bytes of a table up to its first entry, and that entry.
    std::uint64_t length = 0;
    std::uint64_t end = 0;
    for (std::uint64_t at = 0; bytes.holds(at, kTable); ++at) {
        if (bytes.has(at, "stsz")) {
            length = track_length(bytes, at);
        } else if (length != 0 && bytes.has(at, "co64")) {
            if (const auto offset = track_offset(bytes, at)) {
                end = *offset < kFarthest ? std::max(end, *offset + length) : end;
                length = 0;
            }
        }
    }
    return end;
}

} // namespace

TracksEnd end_of_tracks(const std::filesystem::path& path) {
    FileBytes file(path);
    const auto start = file.read(0, kSearched);
    const std::uint64_t end = tracks_end(ByteReader(start, std::endian::big));
    if (end > file.size()) {
        return {end - file.size(), 0};
    }
    return {0, end == 0 || file.only_slack_after(end) ? 0 : file.size() - end};
}

} // namespace plate_mend::host
