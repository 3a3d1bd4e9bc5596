#pragma once

#include <cstdint>

namespace raw_mend {

/// The bytes [begin, end) of a file.
struct ByteRange {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;

    [[nodiscard]] std::uint64_t length() const { return end - begin; }
    bool operator==(const ByteRange&) const = default;
};

} // namespace raw_mend
