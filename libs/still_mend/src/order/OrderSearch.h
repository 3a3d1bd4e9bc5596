#pragma once

#include "header/PictureCandidates.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace still_mend {

/// A file whose pieces were put in order.
struct OrderedFile {
    std::vector<unsigned char> bytes; ///< Up to EOI; and what followed it, if nothing was left out.
    std::size_t first_moved = 0;      ///< Offset in the damaged file at which its order breaks first.
};

/// Puts the clusters of a file in order whose scan is in another order, partly repeated, or parted by foreign
/// data. Where a cluster does not go on with what is before it, all others are tried: the right one is in
/// step, and fits the row above in place and level. Found only if then the scan ends with the last bit of its
/// last MCU at EOI. Restart markers must be where they belong, with the right numbers.
///
///   candidate  begins the file; its header, which is in place, is complete, and its only scan is sequential.
///
/// Reads each byte a few times, and takes the memory of the file and half a byte per pixel. Throws
/// std::bad_alloc.
[[nodiscard]] std::optional<OrderedFile> put_in_order(Bytes file, const PictureCandidate& candidate);

} // namespace still_mend
