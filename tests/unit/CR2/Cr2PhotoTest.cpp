#include "support/Cr2Photo.h"

#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

// The builder's photographs are what the repair's tests rest on.

namespace test {
namespace {

class Cr2PhotoBuilder : public ::testing::TestWithParam<ByteOrder> {};

INSTANTIATE_TEST_SUITE_P(ByteOrders, Cr2PhotoBuilder, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         [](const auto& order) { return order.param == ByteOrder::kBig ? "MM" : "II"; });

TEST_P(Cr2PhotoBuilder, IsDecodedToTheScene) {
    const Cr2Photo photo(Cr2Photo::Options{.order = GetParam(), .number = 3});
    const auto picture = decode_raw(photo.bytes);
    ASSERT_TRUE(picture.has_value());
    EXPECT_EQ(picture->width, 160U);
    EXPECT_EQ(picture->height, 120U);
    EXPECT_EQ(picture->errors, 0U);
    EXPECT_EQ(picture->samples, Scene(3).bayer(160, 120, 14, 1024));
}

TEST_P(Cr2PhotoBuilder, HoldsItsPicturesWhereItsDirectoriesSay) {
    const Cr2Photo photo(Cr2Photo::Options{.order = GetParam()});
    const auto number = [&](std::size_t offset) { return get_u32(photo.bytes, offset, GetParam()); };
    EXPECT_EQ(number(12), photo.raw_ifd.offset);
    EXPECT_EQ(number(photo.ifd0.next_link), photo.ifd1.offset);
    EXPECT_EQ(number(photo.ifd1.next_link), photo.ifd2.offset);
    EXPECT_EQ(number(photo.raw_ifd.value(273)), photo.raw_offset);
    EXPECT_EQ(number(photo.raw_ifd.value(279)), photo.raw_size);
    EXPECT_EQ(photo.raw_offset + photo.raw_size, photo.bytes.size());
    EXPECT_EQ(photo.ifd0.tags.back(), 34853U);
    EXPECT_EQ(photo.ifd1.tags.back(), 514U);
    const auto jpeg = [&](std::size_t offset, std::size_t size) {
        return jpeg_decodes(part(photo.bytes, offset, offset + size));
    };
    EXPECT_TRUE(jpeg(photo.preview_offset, number(photo.ifd0.value(279))));
    EXPECT_TRUE(jpeg(photo.thumbnail_offset, number(photo.ifd1.value(514))));
}

} // namespace
} // namespace test
