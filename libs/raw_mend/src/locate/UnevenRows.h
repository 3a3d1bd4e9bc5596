#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"

#include <cstdint>
#include <optional>
#include <span>

namespace raw_mend {

/// The phase of rows that are not whole groups of samples: each begins at another place of a group than the
/// one before it. Read across the seam, samples make no sense, so the seam shows even in a flat picture.
struct UnevenPhase {
    std::uint64_t phase = 0; ///< Counted from the first byte of the windows.
    double distance = 0;     ///< To the next best phase, in standard deviations.
    double misfit = 1;       ///< How rows that fit differ, of the range of samples.
    std::uint64_t rows = 0;
};

/// The phase that makes the rows of windows fit best. The windows have the same phase. At the end of the
/// rows, there may be bytes that are the same in all rows. Nothing with too few rows.
[[nodiscard]] std::optional<UnevenPhase> find_uneven_phase(std::span<const Bytes> windows,
                                                           const RowGeometry& geometry);

/// Whether the bits after the last sample of each row are the same in nearly all rows, if rows begin at the
/// phase. False if there are none.
[[nodiscard]] bool has_idle_ends(std::span<const Bytes> windows, const RowGeometry& geometry,
                                 std::uint64_t phase);

/// The phase, or the one some groups beside it, at which rows have idle ends: rows fit nearly as well at
/// these. Nothing if none or several of the others have.
[[nodiscard]] std::optional<std::uint64_t>
settle_by_idle_ends(std::span<const Bytes> windows, const RowGeometry& geometry, std::uint64_t phase);

} // namespace raw_mend
