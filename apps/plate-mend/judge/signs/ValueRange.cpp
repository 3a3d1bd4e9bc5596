#include "judge/signs/ValueRange.h"

#include <limits>

namespace plate_mend::host {

bool has_value_outside(const std::uint16_t* samples, std::size_t count, unsigned lowest, unsigned highest) {
    constexpr unsigned kMost = std::numeric_limits<std::uint16_t>::max();
    if (count == 0 || lowest > kMost) {
        return count != 0;
    }
    if (lowest == 0 && highest >= kMost) {
        return false;
    }
    // 16 bits wide and without a branch, so that compilers make vector code of it.
    const auto least = static_cast<std::uint16_t>(lowest);
    const auto most = static_cast<std::uint16_t>(highest < kMost ? highest : kMost);
    std::uint16_t found = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned is_outside =
            static_cast<unsigned>(samples[i] < least) | static_cast<unsigned>(samples[i] > most);
        found = static_cast<std::uint16_t>(found | is_outside);
    }
    return found != 0;
}

} // namespace plate_mend::host
