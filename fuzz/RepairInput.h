#pragma once

#include "support/Bytes.h"

#include <cstddef>

namespace fuzz {

/// A pair of files in one run of bytes:
///
///   0  2  length of the sample, low byte first; cut to what is there
///   2  1  what is done to the damaged file: bits 0 to 3 for the four changes below, in this order
///   3  2  first number
///   5  2  second number
///   7  1  value
///   8     the sample, then the damaged file
///
/// The changes:
///
///   1  the sample itself takes the damaged file's place
///   2  the bytes in front of the first number become zeros
///   4  the byte at the second number becomes the value
///   8  the file ends at the second number
///
/// Numbers wrap at the length of the file. So a few bytes damage a large file anywhere.
struct RepairInput {
    test::Bytes sample;
    test::Bytes damaged;
};

[[nodiscard]] RepairInput split(const unsigned char* data, std::size_t size);

/// The bytes that split into these two files, with no change. The sample has 65535 bytes at most.
[[nodiscard]] test::Bytes join(const RepairInput& input);

} // namespace fuzz
