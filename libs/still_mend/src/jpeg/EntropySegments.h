#pragma once

#include "Bytes.h"

#include <optional>

namespace still_mend {

/// The offset of the next marker in entropy-coded data: FF followed by neither 00 nor FF. The limit where
/// there is none.
[[nodiscard]] std::size_t next_marker(Bytes file, std::size_t offset, std::size_t limit);

/// The offset of the marker that the FF at the offset begins, after fill bytes; the offset itself where
/// there is no FF.
[[nodiscard]] std::size_t skip_fill(Bytes file, std::size_t offset, std::size_t limit);

/// An entropy-coded segment: the data between two markers.
struct EntropySegment {
    int restart = -1;      ///< Number of the restart marker before it; -1 at the first byte of the scan.
    bool adjacent = false; ///< The segment before ended at that marker.
    std::size_t begin = 0;
    std::size_t end = 0; ///< The next marker.
    bool at_eoi = false; ///< That marker is EOI.
};

/// Goes from segment to segment of a scan.
class EntropySegmentWalk {
  public:
    /// from_start: the first byte is the scan's first, so that a segment begins there.
    EntropySegmentWalk(Bytes file, std::size_t first, std::size_t limit, bool from_start)
        : file_(file), offset_(first), limit_(limit), usable_(from_start) {}

    /// The next segment that begins at the scan's first byte or after a restart marker.
    std::optional<EntropySegment> next();

  private:
    Bytes file_;
    std::size_t offset_;
    std::size_t limit_;
    int restart_ = -1;
    bool adjacent_ = false;
    bool usable_;
};

} // namespace still_mend
