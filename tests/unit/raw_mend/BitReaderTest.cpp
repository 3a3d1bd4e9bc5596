#include <jpeg_bits/BitReader.h>

#include "support/Bytes.h"

#include <gtest/gtest.h>

#include <random>

namespace test {
namespace {

using jpeg_bits::BitReader;

TEST(BitReaderPlace, IsThatOfTheNextBit) {
    const Bytes data{0x01, 0xFF, 0x00, 0xFF, 0x00, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B};
    const std::vector<std::size_t> bytes{0, 1, 3, 5, 6, 7, 8, 9, 10, 11};
    BitReader reader(data, 0);
    for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
        EXPECT_EQ(reader.byte_of_next_bit(), bytes[bit / 8]) << bit;
        EXPECT_EQ(reader.next_bit(), bit % 8) << bit;
        static_cast<void>(reader.get(1));
    }
    EXPECT_EQ(reader.byte_of_next_bit(), data.size());
    EXPECT_EQ(reader.next_bit(), 0U);
}

TEST(BitReaderPlace, IsTheStopAfterAnOverrun) {
    const Bytes data{0x01, 0xFF, 0xD9};
    BitReader reader(data, 0);
    static_cast<void>(reader.get(9));
    EXPECT_TRUE(reader.overrun());
    EXPECT_EQ(reader.byte_of_next_bit(), 1U);
    EXPECT_EQ(reader.next_bit(), 0U);
}

TEST(BitReaderEnd, IsWithinTheBitsBeforeAMarker) {
    const Bytes data{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0xFF, 0xD9};
    BitReader reader(data, 0);
    EXPECT_FALSE(reader.ends_within(57));
    static_cast<void>(reader.get(15));
    EXPECT_FALSE(reader.ends_within(57));
    static_cast<void>(reader.get(1));
    EXPECT_TRUE(reader.ends_within(57));
    EXPECT_FALSE(reader.ends_within(56));
    static_cast<void>(reader.get(16));
    static_cast<void>(reader.get(16));
    EXPECT_FALSE(reader.ends_within(24));
    EXPECT_TRUE(reader.ends_within(25));
}

/// The bits up to the first marker, one per element.
std::vector<unsigned> bits_of(const Bytes& data) {
    std::vector<unsigned> bits;
    for (std::size_t at = 0; at < data.size(); ++at) {
        const bool stuffed = data[at] == 0xFF && at + 1 < data.size() && data[at + 1] == 0x00;
        if (data[at] == 0xFF && !stuffed) {
            break;
        }
        for (unsigned bit = 8; bit-- > 0;) {
            bits.push_back(data[at] >> bit & 1U);
        }
        at += stuffed ? 1 : 0;
    }
    return bits;
}

TEST(BitReaderLoading, GivesEachBitOnceWhateverTheBytes) {
    std::mt19937 random(1);
    for (unsigned trial = 0; trial < 2000; ++trial) {
        Bytes data(random() % 80);
        for (auto& byte : data) {
            byte = static_cast<unsigned char>(random() % 12 == 0 ? 0xFF : random());
        }
        for (std::size_t at = 1; at < data.size(); ++at) {
            data[at] = data[at - 1] == 0xFF && random() % 16 != 0 ? 0x00 : data[at];
        }
        const auto bits = bits_of(data);
        BitReader reader(data, 0);
        std::size_t next = 0;
        while (next < bits.size() + 40) {
            const auto count = static_cast<unsigned>(1 + random() % 16);
            if (random() % 2 == 0) {
                reader.fill();
            }
            unsigned expected = 0;
            for (unsigned bit = 0; bit < count; ++bit, ++next) {
                expected = expected << 1U | (next < bits.size() ? bits[next] : 0U);
            }
            ASSERT_EQ(reader.get(count), expected) << trial << ' ' << next;
            ASSERT_EQ(reader.overrun(), next > bits.size());
        }
    }
}

} // namespace
} // namespace test
