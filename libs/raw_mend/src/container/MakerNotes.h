#pragma once

#include "container/TiffImages.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace raw_mend {

/// What maker notes add to the description of a photograph.
struct MakerNotes {
    std::vector<TiffImage> pictures;
    std::optional<Extent> curve;    ///< Nikon: what the decoder of compression 34713 needs; Pentax: of 65535.
    std::uint32_t sensor_width = 0; ///< Canon: of the raw image; 0 if not stated.
    std::uint32_t sensor_height = 0;
};

/// Reads the maker notes of an Exif directory, as far as their maker's layout is known: Canon, Nikon, Olympus
/// and Pentax. Empty for others. The reader is that of the Exif directory.
[[nodiscard]] MakerNotes read_maker_notes(const TiffReader& reader, const TiffDirectory& exif,
                                          const std::string& make);

} // namespace raw_mend
