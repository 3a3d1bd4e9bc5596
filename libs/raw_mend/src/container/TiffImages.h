#pragma once

#include "container/TiffTree.h"

#include <cstdint>
#include <vector>

namespace raw_mend {

/// An image that directories describe, and what its choice as the raw one follows from.
struct TiffImage {
    Image image;
    bool holds_sensor_data = false;
    bool is_reduced = false;     ///< By NewSubFileType.
    std::uint64_t directory = 0; ///< Offset of the one that describes it.
};

/// Appends the images that a directory describes: by strips or tiles, by JPEGInterchangeFormat, and by the
/// tags of RW2. Images without data are left out.
void add_images(const TiffReader& reader, const TiffHeader& header, const TiffNode& node,
                std::vector<TiffImage>& images);

/// Appends the JPEG that two entries name, if both are there and its length is not 0.
void add_jpeg(const TiffReader& reader, const TiffDirectory& directory, std::uint16_t offset_tag,
              std::uint16_t length_tag, std::vector<TiffImage>& images);

/// Its pixels.
[[nodiscard]] std::uint64_t pixels_of(const Image& image);

} // namespace raw_mend
