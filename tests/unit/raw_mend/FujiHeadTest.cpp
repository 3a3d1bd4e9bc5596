#include "coding/FujiHead.h"

#include "support/Bytes.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using raw_mend::find_fuji_heads;
using raw_mend::read_fuji_head;

/// A frame of 2000 by 1200 in three blocks of 768.
Bytes head(std::uint32_t first_length = 1000) {
    const Bytes fixed{0x49, 0x53, 1, 16, 14, 0x04, 0xB0, 0x09, 0x00, 0x07, 0xD0, 0x03, 0x00, 3, 0x00, 0xC8};
    return joined(fixed, u32_bytes({first_length, 2000, 3000, 0}, ByteOrder::kBig));
}

TEST(FujiHead, SaysWhereItsBlocksAre) {
    const Bytes bytes = joined(noise(33, 1), head());
    const auto read = read_fuji_head(bytes, 33);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->type, 16U);
    EXPECT_EQ(read->bits, 14U);
    EXPECT_EQ(read->width, 2000U);
    EXPECT_EQ(read->height, 1200U);
    EXPECT_EQ(read->block_width, 768U);
    EXPECT_EQ(read->lengths, (std::vector<std::uint32_t>{1000, 2000, 3000}));
    EXPECT_EQ(read->data, 33U + 32);
    EXPECT_EQ(read->end(), 33U + 32 + 6000);
}

TEST(FujiHead, NumbersMustNotContradictOneAnother) {
    const Bytes bytes = head();
    for (std::size_t at = 0; at < 16; ++at) {
        if (at == 10) { // Another width that needs as many blocks.
            continue;
        }
        Bytes changed = bytes;
        changed[at] = static_cast<unsigned char>(changed[at] ^ 0x81U);
        EXPECT_FALSE(read_fuji_head(changed, 0)) << at;
    }
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_FALSE(read_fuji_head(part(bytes, 0, size), 0)) << size;
    }
    EXPECT_FALSE(read_fuji_head(Bytes(100, 0), 0));
    EXPECT_FALSE(read_fuji_head(bytes, ~std::uint64_t{0}));
}

TEST(FujiHead, IsFoundInAnotherPhotograph) {
    const auto sample = read_fuji_head(head(), 0);
    ASSERT_TRUE(sample);
    Bytes other_frame = head();
    put_u16(other_frame, 9, 1999, ByteOrder::kBig);
    ASSERT_TRUE(read_fuji_head(other_frame, 0));
    const Bytes damaged = joined(joined(noise(5000, 1), other_frame), joined(noise(50, 2), head(77)));
    const auto found = find_fuji_heads(damaged, *sample);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].offset, 5082U);
    EXPECT_EQ(found[0].lengths[0], 77U);
    EXPECT_TRUE(find_fuji_heads({}, *sample).empty());
}

} // namespace
} // namespace test
