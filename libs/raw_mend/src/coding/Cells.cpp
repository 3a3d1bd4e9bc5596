#include "coding/Cells.h"

#include <cstdint>

namespace raw_mend {

namespace {

std::uint64_t eight_bytes(const unsigned char* from) {
    std::uint64_t number = 0;
    for (unsigned at = 8; at-- > 0;) {
        number = number << 8U | from[at];
    }
    return number;
}

} // namespace

bool is_cell(const unsigned char* bytes) {
    // From the lowest bit of the first byte on: the greatest sample and the least, 11 bits each; their
    // places, 4 bits each; and the others above the least, 7 bits each, in units of a power of two.
    constexpr unsigned kOthers = 14;
    constexpr unsigned kInFirstWord = 4; // That are in the first eight bytes as a whole.
    const std::uint64_t low = eight_bytes(bytes);
    const auto greatest = static_cast<unsigned>(low & 0x7FFU);
    const auto least = static_cast<unsigned>(low >> 11U & 0x7FFU);
    if (greatest < least || (low >> 22U & 15U) == (low >> 26U & 15U)) {
        return false;
    }
    unsigned shift = 0;
    while (shift < 4 && (0x80U << shift) <= greatest - least) {
        ++shift;
    }
    const unsigned most = (greatest - least) >> shift;
    const std::uint64_t high = eight_bytes(bytes + 8);
    std::uint64_t rest = low >> 30U;
    for (unsigned other = 0; other < kOthers; ++other, rest >>= 7U) {
        if (other == kInFirstWord) {
            rest |= high << 6U; // Six bits of the fifth are left in the first word.
        }
        if (other == 8) {
            rest = high >> 22U; // After one bit of the fifth, and three others.
        }
        if ((rest & 0x7FU) > most) {
            return false;
        }
    }
    return true;
}

bool are_cells(Bytes bytes) {
    bool all = !bytes.empty() && bytes.size() % kCellBytes == 0;
    for (std::size_t at = 0; all && at < bytes.size(); at += kCellBytes) {
        all = is_cell(bytes.data() + at);
    }
    return all;
}

} // namespace raw_mend
