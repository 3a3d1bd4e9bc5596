#pragma once

#include "container/Description.h"
#include "container/JpegHead.h"
#include "container/TiffTree.h"

#include <cstdint>
#include <optional>

namespace raw_mend {

/// What the coding of an image follows from.
struct CodingFacts {
    TiffHeader::Kind kind = TiffHeader::Kind::kTiff;
    bool holds_sensor_data = false;
    std::uint64_t data_length = 0; ///< Of all pieces.
    std::optional<JpegHead> jpeg;  ///< At the start of the first piece.
};

/// How an image is coded, by its compression and, where makers use one number for several codings, by its
/// length. Reads width, height, bits, samples and compression of the frame.
[[nodiscard]] Coding coding_of(const Frame& frame, const CodingFacts& facts);

/// Whether only a sensor's data are coded with this compression.
[[nodiscard]] bool is_sensor_compression(std::uint32_t compression);

} // namespace raw_mend
