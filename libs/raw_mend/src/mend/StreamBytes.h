#pragma once

#include "Bytes.h"
#include "locate/ByteRange.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace raw_mend {

/// The bytes of a stream, put together from runs of a file. The file must outlive it. Copies share memory.
class StreamBytes {
  public:
    /// From an offset of the file on; at most so many bytes.
    StreamBytes(Bytes file, std::uint64_t offset, std::uint64_t most);

    [[nodiscard]] Bytes bytes() const { return joined_ == nullptr ? first_ : Bytes(*joined_); }
    /// Keeps so many bytes and goes on with those of the file from an offset on.
    void continue_at(std::uint64_t length, std::uint64_t offset);
    /// Where a byte is in the file.
    [[nodiscard]] std::uint64_t offset_of(std::uint64_t position) const;
    /// Whether a byte of the file is among the first so many bytes.
    [[nodiscard]] bool has_used(std::uint64_t offset, std::uint64_t length) const;
    /// The runs in the file that the bytes come from.
    [[nodiscard]] const std::vector<ByteRange>& runs() const { return runs_; }

  private:
    Bytes file_;
    std::uint64_t most_;
    Bytes first_;
    std::shared_ptr<const std::vector<unsigned char>> joined_; // If there are two runs or more.
    std::vector<ByteRange> runs_;
};

} // namespace raw_mend
