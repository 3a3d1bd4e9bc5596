#pragma once

#include "Bytes.h"
#include "locate/ByteRange.h"

#include <vector>

namespace raw_mend {

/// A stretch of bytes that can be entropy-coded: each FF in it is followed by 00 or is part of a restart
/// marker, and there is no long run of equal bytes.
struct EntropyData {
    ByteRange range;       ///< EOI included.
    bool closed = false;   ///< EOI is after it; else other bytes, or the end of the range that was searched.
    bool has_head = false; ///< An SOS segment is directly before it.
};

/// The fewest bytes of a stretch without a head that is reported: random bytes are very seldom one.
inline constexpr std::uint64_t kLeastHeadlessBytes = 2048;

/// The stretches in a range of a file: what survives of streams whose heads are lost, and those of other
/// pictures. Each byte is read a bounded number of times. Of stretches without a head, those with fewer
/// bytes, or with so few FFs that they are hardly compressed, are left out, as are all after the first
/// 65,536.
[[nodiscard]] std::vector<EntropyData> find_entropy_data(Bytes bytes, const ByteRange& within);

} // namespace raw_mend
