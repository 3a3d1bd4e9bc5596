#include "jpeg/SequentialAc.h"

namespace still_mend {

bool decode_sequential_ac(BitReader& reader, const HuffmanTable& table, const CoefficientLimits* limits,
                          Block& block) {
    unsigned minus_ones = 0;
    for (std::size_t k = 1; k < 64; ++k) {
        const int symbol = table.decode(reader);
        if (symbol < 0) {
            return false;
        }
        const auto zeros = static_cast<unsigned>(symbol) >> 4U;
        const auto size = static_cast<unsigned>(symbol) & 15U;
        if (size == 0) {
            if (zeros != 15) {
                return zeros == 0; // End of block.
            }
            k += 15;
            continue;
        }
        k += zeros;
        if (k > 63 || size > kMostAcCategory) {
            return false;
        }
        const std::int32_t value = receive_extend(reader, size);
        if (limits != nullptr && (value > (*limits)[k] || value < -(*limits)[k])) {
            return false;
        }
        block[kNaturalOrder[k]] = static_cast<std::int16_t>(value);
        minus_ones += value == -1 ? 1U : 0U;
    }
    return limits == nullptr || minus_ones != kAllMinusOne;
}

} // namespace still_mend
