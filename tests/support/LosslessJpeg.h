#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <vector>

namespace test {

/// A lossless JPEG (ITU-T T.81, SOF3) with predictor 1 and one Huffman table. The samples are rows of
/// columns * components numbers of at most this many bits, the components in turn; there may be one to four.
[[nodiscard]] Bytes lossless_jpeg(const std::vector<std::uint16_t>& samples, unsigned columns, unsigned rows,
                                  unsigned bits = 14, unsigned components = 1);

} // namespace test
