#include "coding/Headless.h"

#include <array>

namespace raw_mend {

namespace {

constexpr int kSonyValues = 1 << 12U;

std::shared_ptr<const DifferenceCodes> codes() {
    static constexpr std::array<DifferenceCode, 18> kCodes{{{15, 17},
                                                            {15, 16},
                                                            {14, 15},
                                                            {13, 14},
                                                            {12, 13},
                                                            {11, 12},
                                                            {10, 11},
                                                            {9, 10},
                                                            {8, 9},
                                                            {7, 8},
                                                            {6, 7},
                                                            {5, 6},
                                                            {4, 5},
                                                            {3, 4},
                                                            {3, 3},
                                                            {3, 0},
                                                            {2, 2},
                                                            {2, 1}}};
    constexpr unsigned kMostBits = 12; // More are beyond the range of values.
    static const auto all = std::make_shared<const DifferenceCodes>(kCodes, kMostBits);
    return all;
}

} // namespace

HeadlessCoding sony_coding(std::uint64_t columns, std::uint64_t rows) {
    // The order of rows and columns does not matter here: all values are one sum.
    const std::uint64_t values = columns * rows;
    const auto decode = [values, all = codes()](Bytes data) {
        Trial trial;
        PlainBits bits(data);
        int value = 0;
        int difference = 0;
        for (; trial.values < values; ++trial.values) {
            if (!all->read(bits, difference)) {
                return trial;
            }
            value += difference;
            if (value < 0 || value >= kSonyValues || bits.overrun()) {
                return trial;
            }
        }
        trial.bytes = bits.bytes();
        return trial;
    };
    return {values, decode, codes(), nullptr};
}

} // namespace raw_mend
