#include "header/StandardTables.h"

#include <array>

namespace still_mend {

namespace {

// Tables K.1 and K.2 in zigzag order, at quality 90.
constexpr std::array<std::uint16_t, 64> kLuminance{
    3,  2,  2,  3,  2,  2,  3,  3,  3,  3,  4,  3,  3,  4,  5,  8,  //
    5,  5,  4,  4,  5,  10, 7,  7,  6,  8,  12, 10, 12, 12, 11, 10, //
    11, 11, 13, 14, 18, 16, 13, 14, 17, 14, 11, 11, 16, 22, 16, 17, //
    19, 20, 21, 21, 21, 12, 15, 23, 24, 22, 20, 24, 18, 20, 21, 20, //
};
constexpr std::array<std::uint16_t, 64> kChrominance{
    3,  4,  4,  5,  4,  5,  9,  5,  5,  9,  20, 13, 11, 13, 20, 20, //
    20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, //
    20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, //
    20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, 20, //
};

} // namespace

Tables standard_tables() {
    Tables tables;
    for (const std::size_t number : {0U, 1U}) {
        tables.dc[number] = standard_dc_codes(number == 1);
        tables.ac[number] = standard_ac_codes(number == 1);
        tables.quant[number] = QuantTable{number == 1 ? kChrominance : kLuminance};
    }
    return tables;
}

} // namespace still_mend
