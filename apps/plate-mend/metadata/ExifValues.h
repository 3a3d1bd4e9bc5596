#pragma once

#include <byte_reader/ByteReader.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host {

/// An entry of a TIFF directory, with the offset of its values in the file.
struct ExifEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint64_t count = 0;
    std::uint64_t values = 0; ///< May be outside the file.
};

// Values of entries as the texts of CameraFact. Nothing for a value of another type, for one that is not
// within the file, and for one that no camera writes.

/// "2026-05-01T12:30:00" of "2026:05:01 12:30:00", from 1990 to 2099.
[[nodiscard]] std::optional<std::string> exif_date(const byte_reader::ByteReader& file,
                                                   const ExifEntry& entry);

/// "2026-05-01" of "2026:05:01", likewise.
[[nodiscard]] std::optional<std::string> exif_day(const byte_reader::ByteReader& file,
                                                  const ExifEntry& entry);

/// Up to 255 bytes of UTF-8 without control characters, without spaces around them; not empty.
[[nodiscard]] std::optional<std::string> exif_text(const byte_reader::ByteReader& file,
                                                   const ExifEntry& entry);

/// Digits of a fraction of a second: "25".
[[nodiscard]] std::optional<std::string> exif_fraction(const byte_reader::ByteReader& file,
                                                       const ExifEntry& entry);

/// A difference from UTC: "+02:00".
[[nodiscard]] std::optional<std::string> exif_zone(const byte_reader::ByteReader& file,
                                                   const ExifEntry& entry);

/// A number of type SHORT or LONG; the first one where there are several.
[[nodiscard]] std::optional<std::uint32_t> exif_number(const byte_reader::ByteReader& file,
                                                       const ExifEntry& entry);

/// "1/250" for a positive number between these two, inclusive.
[[nodiscard]] std::optional<std::string> exif_ratio(const byte_reader::ByteReader& file,
                                                    const ExifEntry& entry, double least, double most);

/// The values of `count` rationals, none negative or with a denominator of 0. Some phones write signed ones.
[[nodiscard]] std::optional<std::vector<double>> exif_rationals(const byte_reader::ByteReader& file,
                                                                const ExifEntry& entry, std::size_t count);

} // namespace plate_mend::host
