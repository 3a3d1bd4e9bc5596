#pragma once

#include "record/CameraFacts.h"

#include <cstdint>
#include <span>
#include <vector>

namespace plate_mend::host {

/// Metadata of one photograph, found in one place of a file.
struct MetadataBlock {
    /// "head": a TIFF header and its directories. "preview": the Exif of a JPEG. "boxes": CMT boxes of a CR3.
    /// "directory": a directory whose header is lost.
    const char* source = "";
    std::uint64_t offset = 0;          ///< Of its header or its directory.
    CameraFacts facts;                 ///< Not empty.
    std::vector<std::uint64_t> images; ///< Where its tables have images, in the file.
    bool has_raw_image = false;        ///< One of them is raw.
    std::vector<std::uint64_t> jpegs;  ///< Likewise, JPEGs; the one around it first.
};

/// All metadata of cameras in a file, in the order of their offsets, whatever its bytes are. Takes linear
/// time. Directories whose header is lost are found if they have a date, and if they are where they were in
/// the photograph.
[[nodiscard]] std::vector<MetadataBlock> find_metadata(std::span<const unsigned char> file);

/// The facts that programs read first in an intact photograph: those of its own head, of the preview of a
/// RAF, or of the boxes of a CR3.
[[nodiscard]] CameraFacts main_facts(std::span<const unsigned char> photograph);

} // namespace plate_mend::host
