#pragma once

#include "files/Formats.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace plate_mend::host {

/// A part of the format's structure that was searched for.
struct Landmark {
    std::string name;
    bool needed = false;                 ///< A repair with a sample needs it in the damaged file.
    std::optional<std::uint64_t> offset; ///< In the file; nothing when it is lost.
};

/// Where the image data are, according to the entries. The numbers come from the file and may be anything.
struct ImageData {
    std::uint64_t offset = 0;
    std::optional<std::uint64_t>
        size; ///< Nothing when no entry has one: the data extend to the end of the file.
};

/// The lengths of the two tables that a DNG has for its tiles.
struct TileCounts {
    std::uint32_t offsets = 0;
    std::uint32_t byte_counts = 0;
    friend bool operator==(const TileCounts&, const TileCounts&) = default;
};

/// What locates the image, as far as it is intact.
struct Landmarks {
    std::vector<Landmark> found;
    std::vector<ImageData> images;
    std::optional<bool>
        big_endian;       ///< Of the entries, or else of the header; nothing for CR3 or when unknown.
    std::string obstacle; ///< Why no repair rebuilds this photograph although all landmarks are there; empty
                          ///< for none.
    std::optional<TileCounts> tiles; ///< Only for a DNG whose landmarks are complete.

    /// Whether everything that a repair needs is there.
    [[nodiscard]] bool complete() const;
};

/// Searches for the landmarks as the advanced repair does, but in both byte orders, since without a sample
/// the damaged file's is unknown; if a byte order is given, only in that one. Files of 4 GiB or more are not
/// supported. Throws only std::bad_alloc, whatever the bytes are. Takes linear time.
[[nodiscard]] Landmarks find_landmarks(std::span<const unsigned char> bytes, RawFormat format,
                                       std::optional<bool> big_endian = std::nullopt);

/// What a repair takes from a sample and compares with the damaged file.
struct SampleMarks {
    std::string problem;             ///< Why the sample cannot be used; empty if it can.
    std::optional<bool> big_endian;  ///< By its header; nothing for CR3.
    std::optional<TileCounts> tiles; ///< Only for a DNG.
};

/// Reads a sample: its header, which unlike a damaged file's must be intact, and its landmarks. Throws as
/// find_landmarks.
[[nodiscard]] SampleMarks read_sample_marks(std::span<const unsigned char> bytes, RawFormat format);

} // namespace plate_mend::host
