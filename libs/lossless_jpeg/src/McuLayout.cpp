#include "McuLayout.h"

#include <algorithm>

namespace lossless_jpeg {

namespace {

/// A factor of 0 counts as 1.
std::uint64_t factor(unsigned stated) {
    return std::max(stated, 1U);
}

std::uint64_t divide_up(std::uint64_t number, std::uint64_t by) {
    return (number + by - 1) / by;
}

} // namespace

McuLayout::McuLayout(const Head& head) {
    std::uint64_t widest = 1;
    std::uint64_t tallest = 1;
    const Component& first = head.components.front();
    plain_ = true;
    for (const Component& component : head.components) {
        widest = std::max(widest, factor(component.horizontal));
        tallest = std::max(tallest, factor(component.vertical));
        plain_ = plain_ && component.horizontal == first.horizontal && component.vertical == first.vertical;
    }
    mcus_ = plain_ ? std::uint64_t{head.width} * head.height
                   : divide_up(head.width, widest) * divide_up(head.height, tallest);
    for (std::size_t nth = 0; nth < head.components.size(); ++nth) {
        const Component& component = head.components[nth];
        const std::uint64_t count = plain_ ? 1 : factor(component.horizontal) * factor(component.vertical);
        components_.insert(components_.end(), static_cast<std::size_t>(count), nth);
    }
}

} // namespace lossless_jpeg
