#pragma once

#include "container/TiffImages.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace raw_mend {

/// What a TIFF structure holds.
struct TiffContents {
    TiffHeader header;
    std::vector<TiffImage> images; ///< In the order in which the directories name them.
    std::string make;
    std::string model;
};

/// Reads the TIFF structure that begins at an offset of the file, with its maker notes. Nothing if no header
/// is there.
[[nodiscard]] std::optional<TiffContents> read_tiff(Inventory& inventory, std::uint64_t offset);

/// Describes a file that is a TIFF structure: DNG, CR2, NEF, ARW, SR2, ORF, PEF, RW2, SRW, 3FR and others.
/// Nothing for other files. Takes linear time, and throws only std::bad_alloc.
[[nodiscard]] std::optional<Description> describe_tiff(Bytes bytes);

/// Sorts by pixels, then by bytes, largest first, and drops repetitions.
void sort_pictures(std::vector<Image>& pictures);

} // namespace raw_mend
