#pragma once

#include "Bytes.h"

#include <cstdint>

namespace raw_mend {

/// A plane of a lossless tile: every second sample of every second row, or all samples.
struct CrxPlaneSize {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    unsigned bits = 0; ///< Per sample, at most 16.
};

/// Whether the coded bytes of a lossless plane that is predicted from the line above decode to its last
/// sample with the last byte, and no sample is out of range. Takes time by samples, which may be more than
/// bytes; up to 8 bytes may be left.
[[nodiscard]] bool crx_plane_decodes(Bytes coded, const CrxPlaneSize& size);

} // namespace raw_mend
