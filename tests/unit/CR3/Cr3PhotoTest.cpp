#include "support/Cr3Photo.h"

#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

// The builder's photographs are what the repair's tests rest on.

namespace test {
namespace {

constexpr std::size_t kPixels = std::size_t{Cr3Photo::kWidth} * Cr3Photo::kHeight;
constexpr unsigned kWhite = (1U << Cr3Photo::kBits) - 1;
constexpr unsigned kMiddle = 1U << (Cr3Photo::kBits - 1);
using Samples = std::vector<std::uint16_t>;

/// Expects that these samples come out of LibRaw as they went into the photograph.
void expect_decoded(const Samples& samples) {
    const Cr3Photo photo(Cr3Photo::Options{.pictures = true, .samples = samples});
    const auto picture = decode_raw(photo.bytes);
    ASSERT_TRUE(picture.has_value());
    EXPECT_EQ(picture->errors, 0U);
    EXPECT_EQ(picture->samples, samples);
}

/// A picture by the column and row of each sample.
template <typename Function>
Samples picture_of(Function value) {
    Samples samples;
    samples.reserve(kPixels);
    for (unsigned row = 0; row < Cr3Photo::kHeight; ++row) {
        for (unsigned column = 0; column < Cr3Photo::kWidth; ++column) {
            samples.push_back(static_cast<std::uint16_t>(value(column, row)));
        }
    }
    return samples;
}

TEST(Cr3PhotoBuilder, IsDecodedToTheScene) {
    for (const bool large_mdat : {true, false}) {
        const Cr3Photo photo(Cr3Photo::Options{.number = 3,
                                               .pictures = true,
                                               .gaps = {1, 2, 3, 4},
                                               .after_tracks = 5,
                                               .large_mdat = large_mdat});
        const auto picture = decode_raw(photo.bytes);
        ASSERT_TRUE(picture.has_value());
        EXPECT_EQ(picture->width, Cr3Photo::kWidth);
        EXPECT_EQ(picture->height, Cr3Photo::kHeight);
        EXPECT_EQ(picture->errors, 0U);
        EXPECT_EQ(picture->samples,
                  Scene(3).bayer(Cr3Photo::kWidth, Cr3Photo::kHeight, Cr3Photo::kBits, Cr3Photo::kBlack));
    }
}

TEST(Cr3PhotoBuilder, WritesNoiseThatIsDecoded) {
    const Bytes bytes = noise(2 * kPixels, 1);
    std::size_t at = 0;
    expect_decoded(picture_of([&](unsigned, unsigned) {
        at += 2;
        return get_u16(bytes, at - 2, ByteOrder::kBig) & kWhite;
    }));
}

TEST(Cr3PhotoBuilder, WritesFlatPicturesThatAreDecoded) {
    for (const unsigned value : {0U, 1U, kMiddle - 1, kMiddle, kMiddle + 1, kWhite}) {
        expect_decoded(picture_of([&](unsigned, unsigned) { return value; }));
    }
}

TEST(Cr3PhotoBuilder, WritesTheSteepestEdgesThatAreDecoded) {
    // Black and white in turn within each plane, along the lines, down the columns, and both.
    expect_decoded(picture_of([](unsigned column, unsigned) { return column / 2 % 2 * kWhite; }));
    expect_decoded(picture_of([](unsigned, unsigned row) { return row / 2 % 2 * kWhite; }));
    expect_decoded(
        picture_of([](unsigned column, unsigned row) { return (column / 2 + row / 2) % 2 * kWhite; }));
}

TEST(Cr3PhotoBuilder, WritesLonePointsThatAreDecoded) {
    // One point on each line of a plane, at each column in turn: runs of all lengths before it and
    // after it.
    for (const unsigned point : {kMiddle + 1, kMiddle - 1, kMiddle + 40, kWhite, 0U}) {
        expect_decoded(picture_of([&](unsigned column, unsigned row) {
            return column / 2 == (row / 2 * 7) % (Cr3Photo::kWidth / 2) ? point : kMiddle;
        }));
    }
    // And on the last line of each plane only, with runs over all those in front.
    for (const unsigned place : {0U, 1U, 2U, 40U, 77U, 78U, 79U}) {
        expect_decoded(picture_of([&](unsigned column, unsigned row) {
            return row + 2 >= Cr3Photo::kHeight && column / 2 == place ? kWhite : kMiddle;
        }));
    }
}

TEST(Cr3PhotoBuilder, WritesSmoothSlopesThatAreDecoded) {
    expect_decoded(picture_of([](unsigned column, unsigned row) { return 100 * column + row; }));
    expect_decoded(picture_of([](unsigned column, unsigned row) { return (column * row) & kWhite; }));
    expect_decoded(
        picture_of([](unsigned column, unsigned row) { return column / 8 * 300 + row / 8 * 200; }));
}

TEST(Cr3PhotoBuilder, HoldsItsPicturesWhereItsBoxesSay) {
    const Cr3Photo photo(Cr3Photo::Options{.pictures = true});
    EXPECT_TRUE(jpeg_decodes(
        part(photo.bytes, photo.thumbnail.offset, photo.thumbnail.offset + photo.thumbnail.size)));
    EXPECT_TRUE(
        jpeg_decodes(part(photo.bytes, photo.preview.offset, photo.preview.offset + photo.preview.size)));
    EXPECT_TRUE(jpeg_decodes(photo.track(1)));
    const auto number = [&](std::size_t offset) { return get_u32(photo.bytes, offset, ByteOrder::kBig); };
    for (unsigned n = 1; n <= 4; ++n) {
        EXPECT_EQ(number(photo.offset_entry(n)), photo.tracks[n - 1].offset);
        EXPECT_EQ(number(photo.size_entry(n)), photo.tracks[n - 1].size);
    }
    EXPECT_EQ(number(photo.at("trak1/entry")), 112U);
    EXPECT_EQ(number(photo.at("trak2/entry")), 212U);
    EXPECT_EQ(number(photo.at("trak3/entry")), 228U);
}

} // namespace
} // namespace test
