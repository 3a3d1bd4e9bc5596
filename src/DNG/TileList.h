#pragma once

#include "util/MMap.h"

#include <cstdint>
#include <map>
#include <vector>

namespace plate_mend {

/// A 32-bit number and its place in the file.
struct ValueSlot {
    std::uint64_t position = 0; ///< File offset of its first byte.
    std::uint32_t value = 0;
};

/// A list of LONGs in a file, as it is when this object is made. A file may have thousands of long lists of
/// which one counts, so the numbers are read only when asked for; call keep before writing into the file.
class TileList {
  public:
    TileList() = default; ///< No numbers.

    /// The list of count numbers at the offset, which must all be inside the file.
    TileList(std::uint32_t offset, std::uint32_t count) : offset_(offset), count_(count) {}

    /// Saves the numbers that have a byte in [first, last), which is about to be overwritten.
    void keep(const MMAP& map, std::uint64_t first, std::uint64_t last);

    /// The numbers with their bytes in file order, the first byte most significant.
    [[nodiscard]] std::vector<ValueSlot> read(const MMAP& map) const;

  private:
    [[nodiscard]] std::uint64_t position(std::uint32_t index) const;

    std::uint32_t offset_ = 0;
    std::uint32_t count_ = 0;
    std::map<std::uint32_t, std::uint32_t> kept_; ///< Overwritten numbers by their index.
};

} // namespace plate_mend
