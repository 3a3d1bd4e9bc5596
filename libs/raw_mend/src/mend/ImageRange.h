#pragma once

#include <cstdint>

namespace raw_mend {

/// Bytes of an image.
struct ImageRange {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;

    [[nodiscard]] std::uint64_t length() const { return end - begin; }
    bool operator==(const ImageRange&) const = default;
};

} // namespace raw_mend
