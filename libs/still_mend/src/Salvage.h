#pragma once

#include "assessment/Assessment.h"
#include "order/OrderSearch.h"

#include <optional>

namespace still_mend {

/// The best picture in a file.
struct BestPicture {
    Assessment assessment;
    bool thumbnail = false; ///< Small, and not what the file was about.
    /// The file with its pieces in order, if that makes the picture whole. All offsets are then in its bytes.
    std::optional<OrderedFile> ordered;

    /// The bytes that were assessed, of this file.
    [[nodiscard]] Bytes bytes(Bytes file) const { return ordered ? Bytes(ordered->bytes) : file; }
};

/// Examines everything in the file that may be a picture and returns the one of which the most survives: the
/// most pixels that decode and hold together. If the picture that the file begins with is not whole, its
/// pieces are put in order, and that is taken only if it makes it whole. Returns a thumbnail only if there is
/// nothing else. The total that is read and decoded stays within a constant times the size of the file. What
/// headers lack is also taken from those of the sample, a picture from the same camera, unless it is empty.
[[nodiscard]] std::optional<BestPicture> find_best(Bytes file, Bytes sample = {});

} // namespace still_mend
