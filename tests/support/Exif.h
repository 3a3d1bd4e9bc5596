#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <string>

namespace test {

/// What a camera writes about a photograph (Exif 2.3). What is empty is left out.
struct ExifFields {
    ByteOrder order = ByteOrder::kLittle;
    std::string taken = "2026:05:01 12:30:00"; ///< In DateTime, DateTimeOriginal and DateTimeDigitized.
    std::string fraction{};
    std::string zone{};
    std::string make = "SONY";
    std::string model = "DSLR-A330";
    std::string artist{};
    std::string copyright{};
    std::string lens{};
    std::string serial{};
    std::uint16_t orientation = 1;
    std::uint32_t exposure = 250; ///< 1 / this, in seconds.
    std::uint32_t aperture = 56;  ///< Tenths.
    std::uint16_t iso = 400;
    std::uint32_t focal_length = 50; ///< Millimetres.
    bool has_place = false;          ///< 48° 12' 30" N, 16° 22' 15" W, 12 m below the sea, at 10:30 UTC.
};

/// A TIFF structure with these fields: header, IFD 0, Exif, GPS.
[[nodiscard]] Bytes exif_structure(const ExifFields& fields);

/// A JPEG with these fields in an APP1 segment after its SOI.
[[nodiscard]] Bytes with_exif(const Bytes& jpeg, const ExifFields& fields);

} // namespace test
