#pragma once

#include "support/Bytes.h"

#include <cstddef>

namespace fuzz {

/// The most bytes that a file grows to by what is repeated.
inline constexpr std::size_t kMostRepeated = std::size_t{1} << 18U;

/// A file in which a part may be repeated many times, so that a few bytes make a large one:
///
///   0  1  low five bits: the part is repeated twice as often for each; 0 for a file as it is
///   1  2  where the part begins, low byte first
///   3  2  how long it is, in bytes; 0 for none
///   5     the file
///
/// Numbers wrap at the length of the file. The part ends with the file, and there are as many of it as fit
/// into kMostRepeated, or one.
[[nodiscard]] test::Bytes repeated_file(const unsigned char* data, std::size_t size);

/// The bytes that are read as a file of which the part [first, first + length) is repeated 2^doublings times.
[[nodiscard]] test::Bytes repeating(const test::Bytes& file, unsigned doublings = 0, std::size_t first = 0,
                                    std::size_t length = 0);

} // namespace fuzz
