#pragma once

#include "util/MMap.h"

#include <cstdint>
#include <map>
#include <vector>

namespace plate_mend {

/// A number of 32 bits and where it lies in the file.
struct ValueSlot {
    std::uint64_t position = 0; ///< File offset of its first byte.
    std::uint32_t value = 0;
};

/// A list of LONGs in a file, as it stands when this object is made. A file may name thousands of long lists
/// of which one counts, so the numbers are read when they are asked for; who writes into the file before that
/// calls keep first.
class TileList {
  public:
    TileList() = default; ///< No numbers.

    /// The list of count numbers at the offset, which must lie in the file.
    TileList(std::uint32_t offset, std::uint32_t count) : offset_(offset), count_(count) {}

    /// Puts aside the numbers of which a byte lies in [first, last), which are about to be overwritten.
    void keep(const MMAP& map, std::uint64_t first, std::uint64_t last);

    /// The numbers with their bytes in file order, the first in the high position.
    [[nodiscard]] std::vector<ValueSlot> read(const MMAP& map) const;

  private:
    [[nodiscard]] std::uint64_t position(std::uint32_t index) const;

    std::uint32_t offset_ = 0;
    std::uint32_t count_ = 0;
    std::map<std::uint32_t, std::uint32_t> kept_; ///< Overwritten numbers by their index.
};

} // namespace plate_mend
