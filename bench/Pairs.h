#pragma once

#include "support/Bytes.h"

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

/// A range of bytes of one of the two files.
struct Piece {
    enum class From { kSample, kDamaged };

    From from = From::kSample;
    std::size_t offset = 0;
    std::size_t size = 0;
};

/// A sample and a damaged photograph of one format, and the pieces of the output except for a few patched
/// bytes. Everything before what the repair needs from the damaged file is zero.
struct Pair {
    std::string extension;
    test::Bytes sample;
    test::Bytes damaged;
    std::vector<Piece> output;
};

/// The formats, by their extensions.
[[nodiscard]] const std::vector<std::string>& formats();

/// Two photographs of about size bytes each. Noise as image data makes up what a photograph of the tests
/// lacks in size.
[[nodiscard]] Pair make_pair(const std::string& extension, std::size_t size);

} // namespace bench
