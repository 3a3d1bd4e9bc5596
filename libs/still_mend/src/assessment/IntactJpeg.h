#pragma once

#include "Bytes.h"
#include "jpeg/MarkerSegments.h"

#include <optional>

namespace still_mend {

/// A JPEG that libjpeg decodes to the end without an error or a warning.
struct IntactJpeg {
    Frame frame;          ///< As libjpeg reads it: arithmetic coding and two components are possible.
    std::size_t size = 0; ///< From SOI up to and including EOI, in bytes.
};

/// The intact JPEG that the bytes begin with, if they do. Rows are decoded one by one, and only pictures of
/// several scans are kept in memory, two bytes per coefficient. Reading ends at the first warning. Pictures
/// that are larger than their bytes can code, and scans without end, are abandoned: work stays within a
/// constant times the size. Throws std::bad_alloc.
[[nodiscard]] std::optional<IntactJpeg> read_intact(Bytes jpeg);

/// Whether the bytes begin as a JPEG does.
[[nodiscard]] bool begins_as_jpeg(Bytes bytes);

} // namespace still_mend
