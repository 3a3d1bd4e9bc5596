#include "container/JpegHead.h"
#include "support/Bytes.h"
#include "support/LosslessJpeg.h"

#include <gtest/gtest.h>

namespace raw_mend {
namespace {

using test::Bytes;

/// SOI, so many empty segments, and a frame header of 30 by 20 pixels, 8 bits, three components.
Bytes jpeg_with_segments(unsigned count, unsigned char marker = 0xC0) {
    Bytes bytes{0xFF, 0xD8};
    for (unsigned index = 0; index < count; ++index) {
        bytes = test::joined(bytes, {0xFF, 0xE2, 0, 2});
    }
    return test::joined(bytes, {0xFF, marker, 0, 17, 8, 0, 20, 0, 30, 3});
}

std::optional<JpegHead> head_of(const Bytes& bytes) {
    return read_jpeg_head(bytes, {0, bytes.size()});
}

TEST(JpegHead, IsThatOfTheFirstFrameHeader) {
    const auto head = head_of(jpeg_with_segments(3));
    ASSERT_TRUE(head);
    EXPECT_EQ(head->width, 30U);
    EXPECT_EQ(head->height, 20U);
    EXPECT_EQ(head->bits, 8U);
    EXPECT_EQ(head->components, 3U);
    EXPECT_FALSE(head->is_lossless);
    EXPECT_TRUE(head_of(jpeg_with_segments(3, 0xC3))->is_lossless);
    EXPECT_FALSE(head_of(jpeg_with_segments(3, 0xC2))->is_lossless);
    const auto lossless = head_of(test::lossless_jpeg(std::vector<std::uint16_t>(24), 4, 3, 12, 2));
    ASSERT_TRUE(lossless);
    EXPECT_TRUE(lossless->is_lossless);
    EXPECT_EQ(lossless->width, 4U);
    EXPECT_EQ(lossless->height, 3U);
    EXPECT_EQ(lossless->bits, 12U);
    EXPECT_EQ(lossless->components, 2U);
}

TEST(JpegHead, IsAmongTheFirst64Segments) {
    EXPECT_TRUE(head_of(jpeg_with_segments(63)));
    EXPECT_FALSE(head_of(jpeg_with_segments(64)));
}

TEST(JpegHead, IsReadWithinTheExtentOnly) {
    const Bytes bytes = test::joined({1, 2, 3}, jpeg_with_segments(1));
    EXPECT_TRUE(read_jpeg_head(bytes, {3, bytes.size() - 3}));
    EXPECT_TRUE(read_jpeg_head(bytes, {3, 1000})); // Of a truncated file.
    for (std::uint64_t length = 0; length < bytes.size() - 3; ++length) {
        EXPECT_FALSE(read_jpeg_head(bytes, {3, length}));
    }
    EXPECT_FALSE(read_jpeg_head(bytes, {0, bytes.size()}));
    EXPECT_FALSE(read_jpeg_head(bytes, {bytes.size(), 100}));
    EXPECT_FALSE(read_jpeg_head(bytes, {~std::uint64_t{0} - 5, 5}));
}

TEST(JpegHead, IsNoneWhereSegmentsAreBroken) {
    Bytes bytes = jpeg_with_segments(2);
    bytes[4] = 0; // A length of 0 or 1.
    bytes[5] = 1;
    EXPECT_FALSE(head_of(bytes));
    bytes = jpeg_with_segments(2);
    bytes[6] = 0x7F;
    EXPECT_FALSE(head_of(bytes));
    for (const unsigned char marker : Bytes{0xC4, 0xC8, 0xCC}) { // No frame headers.
        EXPECT_FALSE(head_of(jpeg_with_segments(0, marker))) << +marker;
    }
}

} // namespace
} // namespace raw_mend
