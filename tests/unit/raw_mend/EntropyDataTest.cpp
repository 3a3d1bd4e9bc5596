#include "locate/EntropyData.h"

#include "support/Bytes.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using raw_mend::ByteRange;
using raw_mend::EntropyData;
using raw_mend::find_entropy_data;

/// Bytes that look like entropy-coded data.
Bytes coded(std::size_t count, std::uint32_t seed) {
    Bytes bytes = noise(count, seed);
    for (std::size_t at = 0; at < count; ++at) {
        if (bytes[at] == 0xFF) {
            bytes[at + 1 < count ? at + 1 : at] = 0x00;
        }
    }
    bytes.back() = 0x11;
    return bytes;
}

std::vector<EntropyData> found(const Bytes& bytes) {
    return find_entropy_data(bytes, {0, bytes.size()});
}

TEST(EntropyData, IsWhatSurvivesAfterAFiller) {
    const Bytes bytes = joined(joined(Bytes(5000, 0), coded(5000, 1)), {0xFF, 0xD9, 1, 2, 3});
    const auto all = found(bytes);
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].range, (ByteRange{5000, 10002}));
    EXPECT_TRUE(all[0].closed);
    EXPECT_FALSE(all[0].has_head);
    const auto part = find_entropy_data(bytes, {6000, 9000});
    ASSERT_EQ(part.size(), 1U);
    EXPECT_EQ(part[0].range, (ByteRange{6000, 9000}));
    EXPECT_FALSE(part[0].closed);
}

TEST(EntropyData, EndsAtAMarkerThatIsNoRestart) {
    const Bytes one = coded(3000, 1);
    const Bytes other = coded(4000, 2);
    EXPECT_EQ(found(joined(joined(one, {0xFF, 0xD3}), other)).size(), 1U);
    EXPECT_EQ(found(joined(joined(one, {0xFF, 0xFF, 0xD3}), other)).size(), 1U);
    EXPECT_EQ(found(joined(joined(one, {0xFF, 0xFF, 0x00}), other)).size(), 2U);
    const auto two = found(joined(joined(one, {0xFF, 0xE3}), other));
    ASSERT_EQ(two.size(), 2U);
    EXPECT_EQ(two[0].range, (ByteRange{0, 3000}));
    EXPECT_EQ(two[1].range, (ByteRange{3002, 7002}));
}

TEST(EntropyData, HasAHeadDirectlyAfterSos) {
    const Bytes sos{0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 63, 0};
    const auto all = found(joined(joined(joined(coded(100, 1), sos), coded(50, 2)), {0xFF, 0xD9}));
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].range, (ByteRange{110, 162}));
    EXPECT_TRUE(all[0].has_head);
    EXPECT_TRUE(all[0].closed);
}

TEST(EntropyData, IsNotWhatOnlyHasNoMarkers) {
    Bytes table(5000, 0);
    Bytes text(5000, 0);
    for (std::size_t at = 0; at < table.size(); ++at) {
        table[at] = static_cast<unsigned char>(at % 4 == 0 ? at / 4 : 0);
        text[at] = static_cast<unsigned char>('a' + at % 26);
    }
    EXPECT_TRUE(found(table).empty());
    EXPECT_TRUE(found(text).empty());
    EXPECT_TRUE(found(coded(2000, 1)).empty()) << "too short";
    EXPECT_TRUE(found({}).empty());
}

TEST(EntropyData, AnyBytesAreTaken) {
    for (std::uint32_t seed = 0; seed < 500; ++seed) {
        Bytes bytes = noise(200, seed);
        for (unsigned char& byte : bytes) {
            byte = byte < 100 ? 0xFF : byte < 130 ? 0xDA : byte;
        }
        for (const EntropyData& data : found(bytes)) {
            EXPECT_LE(data.range.begin, data.range.end);
            EXPECT_LE(data.range.end, bytes.size());
        }
    }
}

} // namespace
} // namespace test
