#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <tuple>
#include <utility>

namespace plate_mend::host {

/// How a directory says that an image is stored.
struct ImageCoding {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t bits = 0;        ///< Per sample.
    std::uint32_t compression = 0; ///< The number of TIFF's Compression.

    bool operator==(const ImageCoding&) const = default;
    /// An order, for sets.
    bool operator<(const ImageCoding& other) const {
        return std::tie(width, height, bits, compression) <
               std::tie(other.width, other.height, other.bits, other.compression);
    }
};

/// What the bytes of a photograph say of its camera and settings, without decoding it.
struct PhotographFacts {
    std::set<std::string> makes;    ///< Trimmed, and so are the following.
    std::set<std::string> models;   ///< The camera's names: Model, and UniqueCameraModel of a DNG.
    std::set<std::string> software; ///< The camera's firmware, or the program that wrote the file.
    unsigned little_endian = 0;     ///< Directories with a picture size in either byte order.
    unsigned big_endian = 0;
    /// Widths and heights of pictures: in directories, JPEG frames and CR3 sample entries.
    std::set<std::pair<std::uint32_t, std::uint32_t>> sizes;
    std::set<ImageCoding> codings;
    std::set<std::uint64_t> tables;    ///< Quantisation tables of JPEGs: a hash of each.
    std::set<std::uint32_t> samplings; ///< Subsampling of JPEGs: a byte of factors per component.

    bool operator==(const PhotographFacts&) const = default;
};

/// Adds a value to facts, unless there are more than any photograph has: whatever a file says, they take
/// little memory.
template <typename Value>
void add_fact(std::set<Value>& facts, const Value& value) {
    constexpr std::size_t kMost = 256;
    if (facts.size() < kMost) {
        facts.insert(value);
    }
}

/// Whether a picture may have this width and height.
[[nodiscard]] bool is_likely_size(std::uint32_t width, std::uint32_t height);

/// The text up to its first NUL, without spaces around it.
[[nodiscard]] std::string trimmed_text(std::string text);

} // namespace plate_mend::host
