#pragma once

#include "util/MMap.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace plate_mend {

/// The index of the first place in bytes where the whole pattern is, found in one forward pass without
/// allocation. Nothing for an empty pattern.
[[nodiscard]] std::optional<std::size_t> find_pattern(std::span<const unsigned char> bytes,
                                                      std::span<const unsigned char> pattern);

/// The offset of the first match in [first, last) of a mapped file; the match is entirely inside. A last past
/// the end of the file means that end. Offsets are 32-bit: matches end below offset 0xFFFFFFFF, so that an
/// offset plus the length of its pattern never wraps, and a search that continues after a match ends.
[[nodiscard]] std::optional<std::uint32_t> find_in_file(const MMAP& map,
                                                        std::span<const unsigned char> pattern,
                                                        std::uint64_t first, std::uint64_t last);

} // namespace plate_mend
