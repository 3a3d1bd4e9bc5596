#pragma once

#include "coding/PlainBits.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace raw_mend {

/// A code for a difference between two values: the bits of the code, then those of the difference.
struct DifferenceCode {
    std::uint8_t bits = 0;       ///< Of the code itself, 1 to 15; 0 where bits are no code.
    std::uint8_t difference = 0; ///< Bits of the difference, 0 to 16.
    std::uint8_t dropped = 0;    ///< How many of these, the lowest, are not stored.
};

/// A prefix code for differences, each of which stands alone: where a code ends, the next one begins.
class DifferenceCodes {
  public:
    static constexpr unsigned kLookup = 15; ///< Bits that a code has at most.

    /// The codes in ascending order, without a gap, beginning with the one that is all zeros. A code whose
    /// difference has more bits than the limit is none: no camera writes it.
    DifferenceCodes(std::span<const DifferenceCode> codes, unsigned limit);

    /// The code that these kLookup bits begin with.
    [[nodiscard]] const DifferenceCode& at(std::uint32_t bits) const { return codes_[bits]; }

    /// Bits from a code to the next one, if these kLookup bits are next; 0 if they are no code.
    [[nodiscard]] unsigned step(std::uint32_t bits) const { return steps_[bits]; }

    /// Reads a difference. False if there is no code.
    [[nodiscard]] bool read(PlainBits& bits, int& difference) const {
        const DifferenceCode code = at(bits.peek(kLookup));
        if (code.bits == 0) {
            return false;
        }
        bits.skip(code.bits);
        difference = difference_of(code, bits.get(code.difference - code.dropped));
        return true;
    }

  private:
    static int difference_of(const DifferenceCode& code, std::uint32_t stored) {
        if (code.difference == 0) {
            return 0;
        }
        const auto value = static_cast<int>((((stored << 1U) + 1U) << code.dropped) >> 1U);
        const bool is_negative = (value >> (code.difference - 1)) == 0;
        return is_negative ? value - (1 << code.difference) + (code.dropped == 0 ? 1 : 0) : value;
    }

    std::vector<DifferenceCode> codes_;
    std::vector<std::uint8_t> steps_;
};

} // namespace raw_mend
