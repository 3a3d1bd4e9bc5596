#pragma once

#include <cstdint>

// Tags of TIFF 6.0, Exif and DNG, and of makers' directories, as far as images need them.

namespace raw_mend::tag {

enum Tag : std::uint16_t {
    kNewSubFileType = 254,
    kImageWidth = 256,
    kImageLength = 257,
    kBitsPerSample = 258,
    kCompression = 259,
    kPhotometric = 262,
    kFillOrder = 266,
    kMake = 271,
    kModel = 272,
    kStripOffsets = 273,
    kSamplesPerPixel = 277,
    kRowsPerStrip = 278,
    kStripByteCounts = 279,
    kPlanarConfiguration = 284,
    kPredictor = 317,
    kTileWidth = 322,
    kTileLength = 323,
    kTileOffsets = 324,
    kTileByteCounts = 325,
    kSubIfds = 330,
    kSampleFormat = 339,
    kJpegOffset = 513,
    kJpegLength = 514,
    kCfaRepeatPattern = 33421,
    kCfaPattern = 33422,
    kExifIfd = 34665,
    kGpsIfd = 34853,
    kMakerNote = 37500,
    kInteroperabilityIfd = 40965,
    kDngVersion = 50706,
    kDngBackwardVersion = 50707,
    kUniqueCameraModel = 50708,
    kCfaPlaneColor = 50710,
    kCfaLayout = 50711,
    kLinearizationTable = 50712,
    kPrivateData = 50740, ///< Sony: the offset of a directory, as four bytes.
    kSlices = 50752,      ///< CR2: number of slices less one, width of each but the last, width of the last.
};

} // namespace raw_mend::tag

// Values of Compression: TIFF 6.0, its supplements and DNG, and those of makers.

namespace raw_mend::compression {

enum Compression : std::uint32_t {
    kUncompressed = 1,
    kOldJpeg = 6,
    kJpeg = 7,
    kAdobeDeflate = 8,
    kDeflate = 32946,
    kSony = 32767,
    kEpson = 32769,
    kSamsung = 32770,
    kPanasonic = 34316,
    kNikon = 34713,
    kLossyJpeg = 34892,
    kOlympusOrPentax = 65535,
};

} // namespace raw_mend::compression
