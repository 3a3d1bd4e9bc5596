#pragma once

#include "support/Bytes.h"

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

/// A stretch of one of the two files.
struct Piece {
    enum class From { kSample, kDamaged };

    From from = From::kSample;
    std::size_t offset = 0;
    std::size_t size = 0;
};

/// A sample and a damaged photograph of one format, and what the output is made of but for a few patched
/// bytes. Everything in front of what the repair needs of the damaged file is zero.
struct Pair {
    std::string extension;
    test::Bytes sample;
    test::Bytes damaged;
    std::vector<Piece> output;
};

/// The formats, by their extensions.
[[nodiscard]] const std::vector<std::string>& formats();

/// Two photographs of about size bytes each. What a photograph of the tests lacks is made up by image data
/// that look like nothing.
[[nodiscard]] Pair make_pair(const std::string& extension, std::size_t size);

} // namespace bench
