#include "facts/PhotographFacts.h"

#include <algorithm>

namespace plate_mend::host {

bool is_likely_size(std::uint32_t width, std::uint32_t height) {
    constexpr std::uint32_t kSmallest = 16; // Side of a picture, in pixels.
    constexpr std::uint32_t kLargest = 65535;
    return width >= kSmallest && width <= kLargest && height >= kSmallest && height <= kLargest;
}

std::string trimmed_text(std::string text) {
    text.resize(std::min(text.find('\0'), text.size()));
    const std::size_t first = text.find_first_not_of(' ');
    const std::size_t last = text.find_last_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, last + 1 - first);
}

} // namespace plate_mend::host
