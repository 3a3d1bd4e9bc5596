#pragma once

#include "util/MMap.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <vector>

namespace plate_mend {

/// The bytes of one track. Those of a file stay in its mapping until they are asked for, since they may be
/// nearly all of it. Nobody may write to that mapping meanwhile.
class TrackData {
  public:
    TrackData() = default; ///< No bytes.
    explicit TrackData(std::vector<unsigned char> bytes);

    /// The next bytes of a mapped file, as read_next_bytes takes them: the same errors, and the cursor moves
    /// the same.
    TrackData(std::shared_ptr<MMAP> file, std::uint32_t count);

    /// A copy of the bytes. Throws OutRangeException when they are those of a file that was closed since.
    [[nodiscard]] std::vector<unsigned char> bytes() const;

    /// Inserts the bytes into a stream, without a copy in memory. Throws as bytes does. A failed write is not
    /// noticed.
    void write(std::ostream& stream) const;

  private:
    std::shared_ptr<MMAP> file_; ///< Null for bytes of our own.
    std::uint64_t offset_ = 0;
    std::uint32_t count_ = 0;
    std::vector<unsigned char> own_;
};

} // namespace plate_mend
