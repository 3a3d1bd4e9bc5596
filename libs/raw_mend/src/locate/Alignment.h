#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"

#include <optional>
#include <span>

namespace raw_mend {

/// Where the groups of samples begin in a window: 0 to the bytes of a group less one. Read at that place,
/// rows fit those of the same colours below them better than read at any other. Nothing if no place is
/// clearly the best, or rows do not fit at all.
/// Samples whose lowest bits are all the same look like samples of another size at another place. So
/// only places with as many such bits are considered; if their number is not known, there is no answer where
/// it matters.
[[nodiscard]] std::optional<unsigned> find_alignment(Bytes window, const RowGeometry& geometry,
                                                     std::optional<unsigned> idle_low_bits);

/// How many of the lowest bits are the same in all samples of an image, which begins at the windows' first
/// byte. Nothing for cells, or if all samples are equal.
[[nodiscard]] std::optional<unsigned> count_idle_low_bits(std::span<const Bytes> windows,
                                                          const RowGeometry& geometry);

} // namespace raw_mend
