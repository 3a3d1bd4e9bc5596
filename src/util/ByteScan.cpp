#include "util/ByteScan.h"

#include <algorithm>

namespace plate_mend {

namespace {

constexpr std::size_t kBlock = 256;

/// Whether the two bytes follow one another at any of the kBlock positions from start on. Reads kBlock + 1
/// bytes, with no branch in the loop, so that compilers vectorise it.
bool block_has_pair(const unsigned char* start, unsigned char first, unsigned char second) {
    unsigned char smallest = 0xFF; // The smallest difference at any position; 0 means that both bytes match.
    for (std::size_t index = 0; index < kBlock; ++index) {
        const auto difference =
            static_cast<unsigned char>((start[index] ^ first) | (start[index + 1] ^ second));
        smallest = std::min(smallest, difference);
    }
    return smallest == 0;
}

} // namespace

std::optional<std::size_t> find_pattern(std::span<const unsigned char> bytes,
                                        std::span<const unsigned char> pattern) {
    if (pattern.empty() || bytes.size() < pattern.size()) {
        return std::nullopt;
    }
    const std::size_t candidates = bytes.size() - pattern.size() + 1;
    std::size_t index = 0;
    const auto first_match_before = [&](std::size_t end) -> std::optional<std::size_t> {
        for (; index < end; ++index) {
            // The first byte by itself: most positions fail there, and comparing ranges is a call.
            if (bytes[index] == pattern[0] &&
                std::equal(pattern.begin(), pattern.end(), bytes.data() + index)) {
                return index;
            }
        }
        return std::nullopt;
    };
    if (pattern.size() >= 2) {
        // Skips whole blocks in which the pattern's first two bytes never follow one another. The byte after
        // a block is the second byte of a candidate, so it is inside.
        while (candidates - index >= kBlock) {
            if (!block_has_pair(bytes.data() + index, pattern[0], pattern[1])) {
                index += kBlock;
            } else if (const auto match = first_match_before(index + kBlock)) {
                return match;
            }
        }
    }
    return first_match_before(candidates);
}

std::optional<std::uint32_t> find_in_file(const MMAP& map, std::span<const unsigned char> pattern,
                                          std::uint64_t first, std::uint64_t last) {
    constexpr std::uint64_t kOffsetLimit = 0xFFFFFFFF;
    const auto bytes = map.bytes();
    last = std::min({last, std::uint64_t{bytes.size()}, kOffsetLimit});
    if (first >= last) {
        return std::nullopt;
    }
    const auto range = bytes.subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first));
    const auto match = find_pattern(range, pattern);
    if (!match) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(first + *match);
}

} // namespace plate_mend
