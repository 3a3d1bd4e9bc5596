#pragma once

#include "locate/CrxPlaces.h"
#include "ways/FoundImage.h"

#include <optional>
#include <vector>

namespace raw_mend {

/// The items of a row in a damaged file, in the order of the row; nothing for those that were not found.
using FoundItems = std::vector<std::optional<Extent>>;

/// Finds what is before and after an item that was found, as long as each begins where the one before it
/// ends. Metadata count only if their records are as long as the sample's, which states their lengths
/// elsewhere too. Reads each byte a bounded number of times.
[[nodiscard]] FoundItems find_neighbours(Bytes damaged, const CrxPlaces& places, const MediaRow& row,
                                         std::size_t item, const Extent& found);

} // namespace raw_mend
