#pragma once

#include "support/Bytes.h"

#include <array>
#include <cstdint>
#include <vector>

namespace test {

/// A Huffman table for differences: how many codes have 1 to 16 bits, and their categories in order.
struct DifferenceCodes {
    std::array<unsigned char, 16> counts{};
    Bytes categories;
};

/// 0 to 14 with four bits each, and 0 to 16 with four or five bits each.
[[nodiscard]] DifferenceCodes codes_for_14_bits();
[[nodiscard]] DifferenceCodes codes_for_16_bits();

struct LosslessJpegOptions {
    unsigned bits = 14;      ///< Per sample, 2 to 16.
    unsigned components = 1; ///< One to four.
    unsigned predictor = 1;  ///< 1 to 7.
    unsigned point_transform = 0;
    unsigned restart_interval = 0; ///< In MCUs; 0 for none.
    std::size_t fill_bytes = 0;    ///< More FFs before each marker after the head.
    unsigned char factors = 0x11;  ///< The first component's sampling factors; the others have 1 and 1.
    bool frame_first = false;      ///< SOF3 before the tables.
    std::vector<DifferenceCodes> tables{}; ///< Table n is component n's, the last one that of all others.
    bool one_table_segment = true;         ///< A DHT for all tables.
    Bytes more_segments{};                 ///< Before SOS.
};

/// A lossless JPEG (ITU-T T.81, SOF3) with predictor 1 and one Huffman table. The samples are rows of
/// columns * components numbers of at most this many bits, the components in turn; there may be one to four.
[[nodiscard]] Bytes lossless_jpeg(const std::vector<std::uint16_t>& samples, unsigned columns, unsigned rows,
                                  unsigned bits = 14, unsigned components = 1);

/// One with these options; the restart interval must be whole rows, and the factors 1 and 1. The point
/// transform drops the lowest bits of the samples.
[[nodiscard]] Bytes lossless_jpeg(const std::vector<std::uint16_t>& samples, unsigned columns, unsigned rows,
                                  const LosslessJpegOptions& options);

/// One with these differences in the order of the data, as many per MCU as the factors say; each is -32767 to
/// 32768.
[[nodiscard]] Bytes lossless_jpeg_of(const std::vector<int>& differences, unsigned columns, unsigned rows,
                                     const LosslessJpegOptions& options);

} // namespace test
