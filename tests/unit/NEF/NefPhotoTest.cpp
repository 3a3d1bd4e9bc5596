#include "support/NefPhoto.h"

#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

// The builder's photographs are what the repair's tests rest on.

namespace test {
namespace {

class NefPhotoBuilder : public ::testing::TestWithParam<std::tuple<ByteOrder, unsigned>> {
  protected:
    ByteOrder order = std::get<0>(GetParam());
    unsigned bits = std::get<1>(GetParam());
};

INSTANTIATE_TEST_SUITE_P(Kinds, NefPhotoBuilder,
                         ::testing::Combine(::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                                            ::testing::Values(12U, 14U)),
                         [](const auto& kind) {
                             return std::string(std::get<0>(kind.param) == ByteOrder::kBig ? "MM" : "II") +
                                    std::to_string(std::get<1>(kind.param));
                         });

TEST_P(NefPhotoBuilder, IsDecodedToTheScene) {
    const NefPhoto photo(NefPhoto::Options{.order = order, .number = 3, .bits = bits});
    const auto picture = decode_raw(photo.bytes);
    ASSERT_TRUE(picture.has_value());
    EXPECT_EQ(picture->width, 160U);
    EXPECT_EQ(picture->height, 120U);
    EXPECT_EQ(picture->errors, 0U);
    EXPECT_EQ(picture->samples, Scene(3).bayer(160, 120, bits));
}

TEST_P(NefPhotoBuilder, HoldsItsPicturesWhereItsDirectoriesSay) {
    const NefPhoto photo(NefPhoto::Options{.order = order, .bits = bits});
    const auto number = [&](std::size_t offset) { return get_u32(photo.bytes, offset, order); };
    EXPECT_EQ(number(photo.ifd0.value(330)), photo.sub_ifds_list);
    EXPECT_EQ(number(photo.sub_ifds_list), photo.preview_ifd.offset);
    EXPECT_EQ(number(photo.sub_ifds_list + 4), photo.raw_ifd.offset);
    EXPECT_EQ(number(photo.raw_ifd.value(273)), photo.raw_offset);
    EXPECT_EQ(photo.raw_offset + photo.raw_size, photo.bytes.size());
    EXPECT_EQ(photo.raw_ifd.tags.front(), 254U);
    EXPECT_TRUE(jpeg_decodes(part(photo.bytes, photo.preview_offset,
                                  photo.preview_offset + number(photo.preview_ifd.value(514)))));
}

} // namespace
} // namespace test
