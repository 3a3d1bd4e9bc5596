#pragma once

#include "Bytes.h"

#include <vector>

namespace still_mend {

/// Whether one of the segments (whole, from FF on) is Exif.
[[nodiscard]] bool has_exif(const std::vector<Bytes>& segments);

/// A whole APP1 segment with what is left of make, model, orientation and date in a TIFF directory of the
/// file: in the first megabyte, or within two before the picture at the offset. Only these values are
/// copied, so that no pointer into the file is carried. Empty where nothing survived.
[[nodiscard]] std::vector<unsigned char> make_exif(Bytes file, std::size_t picture);

} // namespace still_mend
