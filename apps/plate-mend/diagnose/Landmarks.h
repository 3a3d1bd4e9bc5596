#pragma once

#include "files/Formats.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Something of the format's structure that was looked for.
struct Landmark {
    std::string name;
    bool needed = false;                 ///< A repair with a sample needs it in the damaged file.
    std::optional<std::uint64_t> offset; ///< Where it is; nothing when it is lost.
};

/// Where the entries put image data. The numbers are those of the file: they may lead anywhere.
struct ImageData {
    std::uint64_t offset = 0;
    std::optional<std::uint64_t> size; ///< Nothing when no entry gives one: the data go on to the end.
};

/// The lengths of the two tables that a DNG has for its tiles.
struct TileCounts {
    std::uint32_t offsets = 0;
    std::uint32_t byte_counts = 0;
    friend bool operator==(const TileCounts&, const TileCounts&) = default;
};

/// What leads to the image, as far as it is intact.
struct Landmarks {
    std::vector<Landmark> found;
    std::vector<ImageData> images;
    std::optional<bool>
        big_endian; ///< Of the entries, or else of the header; nothing for CR3 or when unknown.
    std::string
        obstacle; ///< Why no repair gives this photograph back though all is there; empty for nothing.
    std::optional<TileCounts> tiles; ///< Of a DNG whose landmarks are complete.

    /// All that a repair needs is there.
    [[nodiscard]] bool complete() const;
};

/// Looks for the landmarks as the advanced repair does, but in both byte orders, since without a sample
/// nobody knows the damaged file's; with a byte order given, in that one alone. A file of 4 GiB or more is
/// out of reach. Throws std::bad_alloc alone, whatever the bytes are; linear time.
[[nodiscard]] Landmarks find_landmarks(std::span<const unsigned char> bytes, RawFormat format,
                                       std::optional<bool> big_endian = std::nullopt);

/// What a repair takes from a sample and compares with the damaged file.
struct SampleMarks {
    std::string problem; ///< Why the sample will not do, in words; empty when nothing is known against it.
    std::optional<bool> big_endian;  ///< By its header; nothing for CR3.
    std::optional<TileCounts> tiles; ///< Of a DNG.
};

/// Looks at a sample: its header, which unlike a damaged file's must be intact, and its landmarks. Throws as
/// find_landmarks.
[[nodiscard]] SampleMarks read_sample_marks(std::span<const unsigned char> bytes, RawFormat format);

} // namespace plate_mend::host
