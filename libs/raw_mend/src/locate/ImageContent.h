#pragma once

#include "container/Description.h"

#include <cstdint>

namespace raw_mend {

/// Whether all bytes are 0.
[[nodiscard]] bool is_zeros(Bytes bytes);

/// Whether all bytes are the same.
[[nodiscard]] bool is_filler(Bytes bytes);

/// What image data look like from afar. It rules out what they cannot be, and proves nothing.
class ImageContent {
  public:
    explicit ImageContent(const Frame& frame) : frame_(frame) {}

    /// Counts the bytes of a piece.
    void add(Bytes piece);

    /// Whether data with these bytes may be an image like that of a sample: not mostly filler or text, and no
    /// samples in words beyond their bits, unless the sample has such.
    [[nodiscard]] bool can_be_like(const ImageContent& sample) const;

  private:
    void add_words(Bytes piece);

    Frame frame_;
    std::uint64_t bytes_ = 0;
    std::uint64_t blocks_ = 0;
    std::uint64_t filler_ = 0; // Blocks of one value.
    std::uint64_t text_ = 0;   // Bytes that are printable.
    std::uint64_t words_ = 0;
    std::uint64_t too_large_ = 0;
};

} // namespace raw_mend
