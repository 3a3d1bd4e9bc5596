#pragma once

#include <cstdint>

// What the builders of photographs on TIFF directories share.

namespace test {

/// Tags of TIFF 6.0, TIFF/EP, Exif and DNG, and of makers' directories.
enum Tag : std::uint16_t {
    kNewSubfileType = 254,
    kImageWidth = 256,
    kImageLength = 257,
    kBitsPerSample = 258,
    kCompression = 259,
    kPhotometric = 262,
    kDescription = 270,
    kMake = 271,
    kModel = 272,
    kStripOffsets = 273,
    kOrientation = 274,
    kSamplesPerPixel = 277,
    kRowsPerStrip = 278,
    kStripByteCounts = 279,
    kXResolution = 282,
    kYResolution = 283,
    kPlanarConfiguration = 284,
    kResolutionUnit = 296,
    kSoftware = 305,
    kDateTime = 306,
    kPredictor = 317,
    kTileWidth = 322,
    kTileLength = 323,
    kTileOffsets = 324,
    kTileByteCounts = 325,
    kSubIfds = 330,
    kJpegOffset = 513,
    kJpegLength = 514,
    kCfaPatternDim = 33421,
    kCfaPattern = 33422,
    kExposureTime = 33434,
    kFNumber = 33437,
    kExifIfd = 34665,
    kGpsInfo = 34853,
    kIso = 34855,
    kExifVersion = 36864,
    kSensingMethod = 37399,
    kDngVersion = 50706,
    kUniqueCameraModel = 50708,
    kBlackLevel = 50714,
    kWhiteLevel = 50717,
    kColorMatrix1 = 50721,
    kAsShotNeutral = 50728,
    kSlices = 50752, ///< Their number less one, the width of all but the last, the width of the last.
    kCalibrationIlluminant1 = 50778,
};

inline constexpr std::uint32_t kLater = 0;   ///< A value that is patched when it is known.
inline constexpr std::uint16_t kCfa = 32803; ///< The photometric interpretation of a colour filter array.

} // namespace test
