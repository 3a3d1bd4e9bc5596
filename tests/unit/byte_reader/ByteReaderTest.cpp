#include <byte_reader/ByteReader.h>

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string_view>
#include <vector>

namespace byte_reader {
namespace {

using namespace std::string_view_literals;

constexpr std::array<unsigned char, 9> kBytes = {0x81, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x88, 0x09};
constexpr std::uint64_t kFarthest = std::numeric_limits<std::uint64_t>::max();

TEST(ByteReader, ReadsNumbersInTheOrderAskedFor) {
    const ByteReader little(kBytes, std::endian::little);
    const ByteReader big(kBytes, std::endian::big);

    EXPECT_EQ(little.u8(0), 0x81U);
    EXPECT_EQ(big.u8(8), 0x09U);
    EXPECT_EQ(little.u16(0), 0x0281U);
    EXPECT_EQ(big.u16(0), 0x8102U);
    EXPECT_EQ(little.u32(4), 0x88070605U);
    EXPECT_EQ(big.u32(4), 0x05060788U);
    EXPECT_EQ(little.u64(0), 0x8807060504030281U);
    EXPECT_EQ(big.u64(1), 0x0203040506078809U);
}

TEST(ByteReader, HasNoNumberThatIsNotCompletelyInTheBytes) {
    const ByteReader reader(kBytes, std::endian::big);

    for (const std::uint64_t offset : {std::uint64_t{9}, std::uint64_t{10}, kFarthest - 1, kFarthest}) {
        EXPECT_EQ(reader.u8(offset), std::nullopt) << offset;
        EXPECT_EQ(reader.u16(offset), std::nullopt) << offset;
        EXPECT_EQ(reader.u32(offset), std::nullopt) << offset;
        EXPECT_EQ(reader.u64(offset), std::nullopt) << offset;
    }
    EXPECT_EQ(reader.u16(8), std::nullopt);
    EXPECT_EQ(reader.u32(6), std::nullopt);
    EXPECT_EQ(reader.u64(2), std::nullopt);
}

TEST(ByteReader, HoldsARangeThatEndsWithTheLastByte) {
    const ByteReader reader(kBytes, std::endian::big);

    EXPECT_TRUE(reader.holds(0, 9));
    EXPECT_TRUE(reader.holds(9, 0));
    EXPECT_FALSE(reader.holds(0, 10));
    EXPECT_FALSE(reader.holds(10, 0));
    EXPECT_FALSE(reader.holds(1, kFarthest)); // Their sum wraps.
}

TEST(ByteReader, WithoutBytesHoldsNothing) {
    const ByteReader reader({}, std::endian::little);

    EXPECT_EQ(reader.size(), 0U);
    EXPECT_EQ(reader.u8(0), std::nullopt);
    EXPECT_FALSE(reader.has(0, "a"));
    EXPECT_TRUE(reader.has(0, ""));
    EXPECT_EQ(reader.find("a"), std::nullopt);
}

/// A text with every kind of byte that a search may stumble over.
class ByteReaderSearch : public ::testing::Test {
  protected:
    const std::vector<unsigned char> bytes = {0, 0, 'I', 'I', '*', 0, 'I', 'I', '*', 0};
    const ByteReader reader{bytes, std::endian::little};
};

TEST_F(ByteReaderSearch, FindsTheFirstOfATextFromAStartOn) {
    EXPECT_EQ(reader.find("II*\0"sv), 2U);
    EXPECT_EQ(reader.find("II*\0"sv, 2), 2U);
    EXPECT_EQ(reader.find("II*\0"sv, 3), 6U);
    EXPECT_EQ(reader.find("II*\0"sv, 7), std::nullopt);
    EXPECT_EQ(reader.find("II*\0"sv, kFarthest), std::nullopt);
}

TEST_F(ByteReaderSearch, FindsATextOnlyWhereItEndsBeforeTheEnd) {
    EXPECT_EQ(reader.find("II*\0"sv, 3, 10), 6U);
    EXPECT_EQ(reader.find("II*\0"sv, 3, 9), std::nullopt);
    EXPECT_EQ(reader.find("II*\0"sv, 0, 3), std::nullopt);
}

TEST_F(ByteReaderSearch, FindsTextsThatBeginWithZerosOrAreZeros) {
    EXPECT_EQ(reader.find("\0I"sv), 1U);
    EXPECT_EQ(reader.find("\0\0"sv), 0U);
    EXPECT_EQ(reader.find("\0"sv, 2), 5U);
    EXPECT_EQ(reader.find("\0\0"sv, 1), std::nullopt);
}

TEST_F(ByteReaderSearch, ReportsWhetherATextIsAtAnOffset) {
    EXPECT_TRUE(reader.has(2, "II*\0"sv));
    EXPECT_FALSE(reader.has(3, "II*\0"sv));
    EXPECT_FALSE(reader.has(8, "*\0I"sv));
    EXPECT_FALSE(reader.has(kFarthest, "I"));
}

} // namespace
} // namespace byte_reader
