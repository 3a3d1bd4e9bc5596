#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace plate_mend::host {

/// The first bytes of a directory's entry with a date.
struct DateEntry {
    std::string_view bytes; ///< Tag, ASCII, 20.
    std::endian order;
};

/// DateTime, whose directory may lead to the other one; and DateTimeOriginal.
inline constexpr std::array kDateEntries = {
    DateEntry{std::string_view("\x32\x01\2\0\x14\0\0\0", 8), std::endian::little},
    DateEntry{std::string_view("\x01\x32\0\2\0\0\0\x14", 8), std::endian::big},
    DateEntry{std::string_view("\x03\x90\2\0\x14\0\0\0", 8), std::endian::little},
    DateEntry{std::string_view("\x90\x03\0\2\0\0\0\x14", 8), std::endian::big}};

/// Where a file has what metadata begin with, and directories with dates have. Offsets ascend.
struct MetadataPlaces {
    std::vector<std::uint64_t> headers; ///< The first bytes of TIFF structures: of TIFF, ORF, RW2.
    std::array<std::vector<std::uint64_t>, kDateEntries.size()> dates; ///< For each of the entries above.
};

/// Finds them, whatever the bytes are, in one pass over the file; of each kind of header, and of each entry,
/// the first 4096.
[[nodiscard]] MetadataPlaces find_metadata_places(std::span<const unsigned char> file);

} // namespace plate_mend::host
