#pragma once

#include "container/Description.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace raw_mend {

/// How far a damaged file's surviving structure is displaced from that of the sample: offsets in the damaged
/// file less those in the sample, the one that most of the structure shows first. The structure is taken at
/// some places of the given parts of the sample. Takes linear time.
[[nodiscard]] std::vector<std::int64_t> find_displacements(Bytes damaged, Bytes sample,
                                                           std::span<const Extent> parts);

/// The ends of long runs of one value: filler, and what was zeroed. Image data may begin there, or, if their
/// first bytes have that value, a few bytes before.
[[nodiscard]] std::vector<std::uint64_t> find_filler_ends(Bytes file);

/// The end of the longest of these runs.
[[nodiscard]] std::optional<std::uint64_t> find_longest_filler_end(Bytes file);

} // namespace raw_mend
