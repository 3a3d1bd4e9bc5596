#include "jpeg/BlockDecoder.h"
#include "Salvage.h"
#include "jpeg/Bits.h"
#include "jpeg/McuDecoder.h"

#include "support/Bytes.h"

#include <gtest/gtest.h>

#include <string>

namespace still_mend {
namespace {

/// Bits, filled up with zeros to whole bytes. No byte of theirs may be FF.
test::Bytes bytes_of(std::string bits) {
    while (bits.size() % 8 != 0) {
        bits += '0';
    }
    test::Bytes bytes(bits.size() / 8);
    for (std::size_t index = 0; index < bits.size(); ++index) {
        const unsigned bit = bits[index] == '1' ? 1U : 0U;
        bytes[index / 8] = static_cast<unsigned char>(unsigned{bytes[index / 8]} << 1U | bit);
    }
    return bytes;
}

/// A grey picture of one block.
Frame grey_frame(unsigned char code) {
    return {code, 8, 8, {{1, 1, 1, 0}}};
}

Scan grey_scan(unsigned last) {
    Scan scan;
    scan.components.push_back({0, 0, 0});
    scan.se = last;
    return scan;
}

/// Quantisation by 1, and the codes 0 and 10 for two symbols each of DC and AC.
Tables small_tables(unsigned char dc, unsigned char first_ac, unsigned char second_ac) {
    Tables tables;
    tables.quant[0].emplace();
    tables.quant[0]->values.fill(1);
    tables.dc[0] = HuffmanCodes{{1}, {dc}};
    tables.ac[0] = HuffmanCodes{{1, 1}, {first_ac, second_ac}};
    return tables;
}

std::string times(std::size_t count, const std::string& text) {
    std::string all;
    while (count-- > 0) {
        all += text;
    }
    return all;
}

TEST(McuDecoder, TakesABlockWithoutEndWhoseValuesAddUpToMinus63) {
    // DC 0; then 61 times -1, and -3 and 1, which add up to as much as 63 times -1.
    const McuDecoder decoder(grey_frame(0xC0), grey_scan(63), small_tables(0, 0x01, 0x02));
    const std::string start = "0" + times(61, "00");
    const test::Bytes good = bytes_of(start + "1000" + "01");
    BitReader reader(good, 0);
    DcState dc;
    Mcu mcu;
    EXPECT_TRUE(decoder.decode(reader, dc, mcu));
    EXPECT_EQ(mcu[0][kNaturalOrder[62]], -3);
    EXPECT_EQ(mcu[0][kNaturalOrder[63]], 1);
    // What zeroed bytes read as is still refused.
    const test::Bytes zeroes = bytes_of(start + "0000");
    BitReader other(zeroes, 0);
    DcState fresh;
    EXPECT_FALSE(decoder.decode(other, fresh, mcu));
}

TEST(BlockDecoder, KeepsThePredictionWithinBoundsWhoeverReadsOnAfterItsFailures) {
    // 2047 more for each block: after 2^32 / 2047 of them a sum of 32 bits would be back where it began.
    const Frame frame = grey_frame(0xC2);
    const Scan scan = grey_scan(0);
    BlockDecoder decoder(frame, scan, small_tables(11, 0, 0));
    const test::Bytes step{0x7F, 0xF0};
    Block block{};
    std::size_t good = 0;
    for (std::size_t count = 0; count < 2'200'000; ++count) {
        BitReader reader(step, 0);
        good += decoder.decode(reader, 0, block) ? 1U : 0U;
        decoder.step_over(reader);
    }
    EXPECT_EQ(good, 0U) << "2047 is more than a picture of 8 bits can contain";
}

TEST(BlockDecoder, AFileOfGrowingBrightnessEndsWell) {
    // A progressive grey picture of 8200 x 8200 pixels whose every block is 2047 brighter than the last.
    test::Bytes file{0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
    file.insert(file.end(), 64, 1);
    const test::Bytes header{0xFF, 0xC2, 0,  11,   8,    0x20, 0x08, 0x20, 0x08, 1, 1, 0x11, 0, //
                             0xFF, 0xC4, 0,  20,   0,                                           //
                             1,    0,    0,  0,    0,    0,    0,    0,    0,    0, 0, 0,    0, 0,
                             0,    0,    11, 0xFF, 0xDA, 0,    8,    1,    1,    0, 0, 0,    0};
    file.insert(file.end(), header.begin(), header.end());
    for (std::size_t pair = 0; pair < 1025 * 1025 / 2 + 1; ++pair) {
        file.insert(file.end(), {0x7F, 0xF7, 0xFF, 0x00});
    }
    file.insert(file.end(), {0xFF, 0xD9});
    EXPECT_FALSE(find_best(test::joined({0}, file)));
}

} // namespace
} // namespace still_mend
