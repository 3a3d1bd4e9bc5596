#pragma once

#include "util/MMap.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>

namespace plate_mend {

/// All searches for one tag in one file. Ranges in which it does not begin are remembered, so that searches
/// from many places, in any order, cost no more than one pass over the file and a little for each.
class TagSearch {
  public:
    using Pattern = std::array<unsigned char, 2>; ///< In the order of the file.

    explicit TagSearch(Pattern pattern) : pattern_(pattern) {}

    /// The offset of the first place from start on where the pattern is, as find_in_file returns it. The
    /// mapping must be the same in every call.
    [[nodiscard]] std::optional<std::uint32_t> find(const MMAP& map, std::uint32_t start);

    /// To be called when the bytes [first, last) of the file are written, before the next search.
    void forget(std::uint64_t first, std::uint64_t last);

  private:
    using Gaps = std::map<std::uint64_t, std::uint64_t>;

    [[nodiscard]] Gaps::iterator first_gap_behind(std::uint64_t offset);
    void remember(std::uint64_t first, std::uint64_t last);

    Pattern pattern_;
    Gaps gaps_; ///< Disjoint ranges, end by start. The pattern begins nowhere in them.
};

} // namespace plate_mend
