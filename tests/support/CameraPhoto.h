#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <string>

namespace test {

/// A photograph built like TIFF whose raw image is one strip without compression, or lossless JPEG of two
/// components in a strip or in tiles, as many cameras write it:
///
///   header   IFD 0 and its values   sub-directory   thumbnail   filler   raw image
///
/// The raw image is that of the sub-directory, or of IFD 0 if there is none.
struct CameraPhoto {
    struct Format {
        std::string make;
        std::string model;
        ByteOrder order = ByteOrder::kLittle;
        std::uint16_t compression = 1; ///< Some makers have a number of their own for no compression.
        unsigned bits = 12;
        bool is_packed = true; ///< Without gaps, the highest bit first; else in 16-bit words.
        bool has_sub_directory = true;
        bool is_lossless_jpeg = false;
        unsigned tile = 0; ///< Width and height of tiles of lossless JPEG; 0 for a strip.
    };

    /// Another number is another photograph.
    CameraPhoto(const Format& format, unsigned number, unsigned width, unsigned height);

    Bytes bytes;
    std::uint32_t image_offset = 0;
};

} // namespace test
