#pragma once

#include "Bytes.h"
#include "coding/DifferenceCodes.h"

#include <cstdint>
#include <vector>

namespace raw_mend {

/// The offsets from which about so many codes, one after another, lead to a place in a file: that many, or
/// up to a few less, as the last of them may end within the byte at the place or soon after it. There are
/// few: chains of codes from different places soon join. Each bit of about as many bytes as the codes need
/// is looked at once, from the place backward.
[[nodiscard]] std::vector<std::uint64_t> find_chain_starts(Bytes file, std::uint64_t place,
                                                           const DifferenceCodes& codes, std::uint64_t count);

} // namespace raw_mend
