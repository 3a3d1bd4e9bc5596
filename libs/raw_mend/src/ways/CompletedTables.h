#pragma once

#include "ways/Sample.h"

#include <cstdint>
#include <vector>

namespace raw_mend {

/// The pieces of the raw image by a damaged file's own tables, which are displaced by so many bytes from the
/// sample's. What of them is lost (zeros, or everything before the first byte that survives) is taken from
/// the sample, which has the same tables at the same places. Offsets are in the damaged file. Nothing if the
/// tables so completed describe no such image.
[[nodiscard]] std::vector<Extent> complete_tables(Bytes damaged, const Sample& sample,
                                                  std::int64_t displacement);

} // namespace raw_mend
