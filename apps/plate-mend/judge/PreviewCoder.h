#pragma once

#include "judge/Image.h"

#include <cstdint>
#include <vector>

namespace plate_mend::host {

/// Codes a photograph's rendering as the previews that cameras put into their files.
class PreviewCoder {
  public:
    /// The rendering must have pixels.
    explicit PreviewCoder(Image rendering);

    /// A JPEG of this size: the best that is no longer than `longest` bytes, or the shortest if none is.
    /// Empty where libjpeg cannot make it.
    [[nodiscard]] std::vector<unsigned char> jpeg(std::uint32_t width, std::uint32_t height,
                                                  std::uint64_t longest) const;

    /// Red, green and blue, 8 bits each, row by row.
    [[nodiscard]] std::vector<unsigned char> rgb(std::uint32_t width, std::uint32_t height) const;

    /// Whether a picture of this size can be coded: both sides are known, and it has 100 million pixels at
    /// most.
    [[nodiscard]] static bool can_code(std::uint32_t width, std::uint32_t height);

  private:
    Image rendering_;
};

} // namespace plate_mend::host
