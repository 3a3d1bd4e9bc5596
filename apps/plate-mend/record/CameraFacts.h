#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace plate_mend::host {

/// What a camera notes about a photograph.
enum class CameraFact {
    kTaken, ///< Local date and time: "2026-05-01T12:30:00", with ".25" and "+02:00" after it where known.
    kExposureTime, ///< In seconds, as a fraction: "1/250".
    kAperture,     ///< The f-number, as a fraction: "28/10".
    kIso,
    kFocalLength, ///< In millimetres, as a fraction.
    kLens,
    kMake,
    kModel,
    kSerialNumber, ///< Of the camera.
    kOrientation,  ///< As in TIFF: 1 to 8.
    kArtist,
    kCopyright,
    kLatitude,  ///< Degrees and minutes: "48,12.500000N".
    kLongitude, ///< Likewise: "16,22.250000E".
    kAltitude,  ///< In metres, as a fraction; negative below the level of the sea.
    kGpsTime,   ///< "2026-05-01T10:30:00Z".
};

/// Those that are known, as texts in the forms of XMP.
using CameraFacts = std::map<CameraFact, std::string>;

/// The fact's name in records, such as "exposure_time".
[[nodiscard]] const char* name_of(CameraFact fact);
/// All of them, in their order.
[[nodiscard]] const std::vector<CameraFact>& camera_facts();

/// Facts about a photograph that were found in its damaged file.
struct OwnMetadata {
    CameraFacts facts;        ///< Not empty.
    std::string source;       ///< Where in the damaged file: see MetadataBlock::source.
    std::uint64_t offset = 0; ///< There, in bytes.
    bool in_result = false;   ///< All of them are in the delivered photograph's own metadata.
    bool operator==(const OwnMetadata&) const = default;
};

} // namespace plate_mend::host
