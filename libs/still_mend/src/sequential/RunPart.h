#pragma once

#include <cstddef>

namespace still_mend {

/// MCUs of a run without a break between them.
struct RunPart {
    std::size_t run = 0;
    std::size_t first = 0; ///< Trace.
    std::size_t last = 0;  ///< One after.
    [[nodiscard]] std::size_t size() const { return last - first; }
};

/// The most MCUs that one search compares with those above them. A picture of 250 megapixels with a few
/// breaks needs a twentieth; noise would need any number.
inline constexpr std::size_t kMostCompared = 1U << 25U;

} // namespace still_mend
