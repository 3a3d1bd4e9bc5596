#pragma once

#include "support/Bytes.h"

#include <cstddef>

namespace fuzz {

/// A pair of files in one sequence of bytes:
///
///   0  2  length of the sample, low byte first; limited to what there is
///   2  1  how the damaged file is changed: bits 0 to 3 for the four changes below, in this order
///   3  2  first number
///   5  2  second number
///   7  1  value
///   8     the sample, then the damaged file
///
/// The changes:
///
///   1  the sample itself replaces the damaged file
///   2  the bytes before the first number become zeros
///   4  the byte at the second number becomes the value
///   8  the file ends at the second number
///
/// Numbers wrap at the length of the file, so a few bytes can damage a large file anywhere.
struct RepairInput {
    test::Bytes sample;
    test::Bytes damaged;
};

[[nodiscard]] RepairInput split(const unsigned char* data, std::size_t size);

/// The bytes that split turns into these two files, with no change. The sample may have 65535 bytes.
[[nodiscard]] test::Bytes join(const RepairInput& input);

} // namespace fuzz
