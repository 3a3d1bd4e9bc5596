#pragma once

#include "util/MMap.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <vector>

namespace plate_mend {

/// The bytes of one track. Those of a file stay in its mapping until they are asked for, since they may be
/// nearly all of it. Nothing may write to that mapping meanwhile.
class TrackData {
  public:
    TrackData() = default; ///< No bytes.
    explicit TrackData(std::vector<unsigned char> bytes);

    /// The next count bytes of a mapped file, with the errors and the cursor movement of read_next_bytes.
    TrackData(std::shared_ptr<MMAP> file, std::uint32_t count);

    /// A copy of the bytes. Throws OutRangeException when they belong to a file that was closed since.
    [[nodiscard]] std::vector<unsigned char> bytes() const;

    /// Inserts the bytes into a stream, without a copy in memory. Throws as bytes does. Failed writes go
    /// unnoticed.
    void write(std::ostream& stream) const;

  private:
    std::shared_ptr<MMAP> file_; ///< Null when own_ holds the bytes.
    std::uint64_t offset_ = 0;
    std::uint32_t count_ = 0;
    std::vector<unsigned char> own_;
};

} // namespace plate_mend
