#include "jpeg/Bits.h"

#include <gtest/gtest.h>

#include <vector>

namespace still_mend {
namespace {

using Raw = std::vector<unsigned char>;

TEST(BitReader, UndoesStuffingAndStopsAtAMarker) {
    const Raw data{0xAB, 0xFF, 0x00, 0x12, 0xFF, 0xD3, 0x77};
    BitReader reader(data, 0);
    EXPECT_EQ(reader.get(8), 0xABU);
    EXPECT_EQ(reader.get(12), 0xFF1U);
    EXPECT_FALSE(reader.overrun());
    EXPECT_TRUE(reader.closes());
    EXPECT_EQ(reader.stop(), 4U);
    EXPECT_EQ(reader.get(4), 2U);
    EXPECT_FALSE(reader.overrun());
    EXPECT_EQ(reader.get(1), 0U);
    EXPECT_TRUE(reader.overrun());
}

TEST(BitReader, ClosesOnlyWithFewerThanEightBitsLeft) {
    const Raw data{0x00, 0x7F};
    BitReader reader(data, 0);
    EXPECT_FALSE(reader.closes());
    EXPECT_EQ(reader.get(8), 0U);
    EXPECT_FALSE(reader.closes());
    EXPECT_EQ(reader.get(1), 0U);
    EXPECT_TRUE(reader.closes());
}

TEST(BitReader, ReportsTheOffsetOfTheNextByte) {
    const Raw data{0x01, 0xFF, 0x00, 0xFF, 0x00, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B};
    BitReader reader(data, 0);
    EXPECT_EQ(reader.offset(), 0U);
    EXPECT_EQ(reader.get(8), 1U);
    EXPECT_EQ(reader.offset(), 1U);
    EXPECT_EQ(reader.get(1), 1U);
    EXPECT_EQ(reader.offset(), 3U); // A bit of FF 00 was consumed.
    EXPECT_EQ(reader.get(15), 0x7FFFU);
    EXPECT_EQ(reader.offset(), 5U);
}

TEST(BitReader, EndsWithinAStuffedByte) {
    const Raw data{0x80, 0xFF};
    BitReader reader(data, 0);
    EXPECT_EQ(reader.get(8), 0x80U);
    EXPECT_TRUE(reader.closes());
    EXPECT_EQ(reader.stop(), 1U);
}

TEST(ReceiveExtend, ReturnsBothSignsOfACategory) {
    const Raw data{0b00011110, 0b11000000};
    BitReader reader(data, 0);
    EXPECT_EQ(receive_extend(reader, 0), 0);
    EXPECT_EQ(receive_extend(reader, 3), -7);
    EXPECT_EQ(receive_extend(reader, 3), 7);
    EXPECT_EQ(receive_extend(reader, 1), 1);
    EXPECT_EQ(receive_extend(reader, 1), -1);
}

TEST(HuffmanTable, DecodesShortAndLongCodesOfTheStandardTables) {
    // K.3: luma AC 1010 is end of block, 1111111111111110 is FA.
    const HuffmanTable table(standard_ac_codes(false));
    const Raw data{0b10101111, 0b11111111 & 0xFE, 0};
    BitReader reader(data, 0);
    EXPECT_EQ(table.decode(reader), 0x00);
    const Raw longest{0xFF, 0x00, 0xFE};
    BitReader other(longest, 0);
    EXPECT_EQ(table.decode(other), 0xFA);
    EXPECT_TRUE(other.closes());
}

TEST(HuffmanTable, RefusesTheCodeOfAllOnes) {
    const HuffmanTable table(standard_dc_codes(true));
    const Raw ones{0xFF, 0x00, 0xFF, 0x00};
    BitReader reader(ones, 0);
    EXPECT_EQ(table.decode(reader), -1);
}

} // namespace
} // namespace still_mend
