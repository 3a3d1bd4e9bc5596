#include "Consistency.h"
#include "container/Describe.h"
#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/Sr2Photo.h"
#include "support/TiffTags.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

// The photographs of every builder, whose parts are known.

namespace raw_mend {
namespace {

using ::testing::IsEmpty;

ByteOrder same(test::ByteOrder order) {
    return order == test::ByteOrder::kLittle ? ByteOrder::kLittle : ByteOrder::kBig;
}

/// Offsets of the pictures, ascending.
std::vector<std::uint64_t> picture_offsets(const Description& description) {
    std::vector<std::uint64_t> offsets;
    for (const Image& picture : description.pictures) {
        offsets.push_back(picture.pieces.front().data.offset);
    }
    std::ranges::sort(offsets);
    return offsets;
}

void expect_one_piece(const Image& image, const Extent& data, std::uint64_t offset_at,
                      std::uint64_t length_at, ByteOrder order) {
    ASSERT_EQ(image.pieces.size(), 1U);
    EXPECT_EQ(image.pieces[0].data, data);
    EXPECT_EQ(image.pieces[0].offset_field, (NumberField{offset_at, 4, order, 0}));
    EXPECT_EQ(image.pieces[0].length_field, (NumberField{length_at, 4, order, 0}));
}

class BuilderInBothOrders : public ::testing::TestWithParam<test::ByteOrder> {};
INSTANTIATE_TEST_SUITE_P(Orders, BuilderInBothOrders,
                         ::testing::Values(test::ByteOrder::kLittle, test::ByteOrder::kBig));

TEST_P(BuilderInBothOrders, Arw) {
    const test::ArwPhoto photo({.order = GetParam()});
    const Description description = understood(photo.bytes);
    const ByteOrder order = same(GetParam());
    EXPECT_EQ(description.container, Description::Container::kTiff);
    EXPECT_EQ(description.order, order);
    EXPECT_EQ(description.make, "SONY");
    EXPECT_EQ(description.model, "DSLR-A330");
    expect_one_piece(description.raw, {photo.image_offset, photo.image_size},
                     photo.sub_ifd.value(test::kStripOffsets), photo.sub_ifd.value(test::kStripByteCounts),
                     order);
    EXPECT_EQ(description.raw.frame, (Frame{.width = 160,
                                            .height = 120,
                                            .bits = 14,
                                            .samples = 1,
                                            .coding = Coding::kUncompressed, // By its length.
                                            .compression = 32767,
                                            .piece_width = 160,
                                            .piece_height = 120,
                                            .order = order}));
    EXPECT_EQ(picture_offsets(description),
              std::vector<std::uint64_t>(photo.preview_offsets.begin(), photo.preview_offsets.end()));
    EXPECT_EQ(description.pictures[0].frame.width, 160U); // By the JPEG's own header.
    EXPECT_EQ(description.pictures[0].frame.coding, Coding::kLossyJpeg);
}

TEST_P(BuilderInBothOrders, Sr2) {
    const test::Sr2Photo photo = test::make_sr2({.order = GetParam()});
    const Description description = understood(photo.bytes);
    expect_one_piece(description.raw, {photo.image, photo.image_size},
                     photo.sub_ifd.value(test::kStripOffsets), photo.sub_ifd.value(test::kStripByteCounts),
                     same(GetParam()));
    EXPECT_EQ(description.raw.frame.coding, Coding::kUncompressed);
    EXPECT_EQ(description.raw.frame.bits, 16U);
    EXPECT_EQ(description.model, "DSC-R1");
    EXPECT_EQ(picture_offsets(description), (std::vector<std::uint64_t>{photo.preview, photo.thumbnail}));
}

TEST_P(BuilderInBothOrders, Orf) {
    const test::OrfPhoto photo = test::make_orf({.order = GetParam()});
    const Description description = understood(photo.bytes);
    expect_one_piece(description.raw, {photo.image, photo.image_size}, photo.ifd0.value(test::kStripOffsets),
                     photo.ifd0.value(test::kStripByteCounts), same(GetParam()));
    EXPECT_EQ(description.raw.frame.coding, Coding::kUncompressed);
    EXPECT_EQ(description.raw.frame.bits, 12U);
    EXPECT_EQ(description.make, "OLYMPUS IMAGING CORP.");
    EXPECT_THAT(description.pictures, IsEmpty()); // No table names them.
}

TEST_P(BuilderInBothOrders, Nef) {
    const test::NefPhoto photo({.order = GetParam()});
    const Description description = understood(photo.bytes);
    expect_one_piece(description.raw, {photo.raw_offset, photo.raw_size},
                     photo.raw_ifd.value(test::kStripOffsets), photo.raw_ifd.value(test::kStripByteCounts),
                     same(GetParam()));
    EXPECT_EQ(description.raw.frame.coding, Coding::kUncompressed);
    EXPECT_EQ(description.raw.frame.bits, 12U);
    EXPECT_EQ(picture_offsets(description),
              (std::vector<std::uint64_t>{photo.thumbnail_offset, photo.preview_offset}));
    ASSERT_EQ(description.pictures.size(), 2U); // The large one is first.
    EXPECT_EQ(description.pictures[0].frame.coding, Coding::kLossyJpeg);
    EXPECT_EQ(description.pictures[1].frame.coding, Coding::kUncompressed);
    EXPECT_EQ(description.pictures[1].frame.samples, 3U);
}

TEST_P(BuilderInBothOrders, Cr2) {
    const test::Cr2Photo photo({.order = GetParam()});
    const Description description = understood(photo.bytes);
    expect_one_piece(description.raw, {photo.raw_offset, photo.raw_size},
                     photo.raw_ifd.value(test::kStripOffsets), photo.raw_ifd.value(test::kStripByteCounts),
                     same(GetParam()));
    EXPECT_EQ(description.raw.frame, (Frame{.width = 160, // By the JPEG: 80 columns of two components.
                                            .height = 120,
                                            .bits = 14,
                                            .samples = 1,
                                            .coding = Coding::kLosslessJpeg,
                                            .compression = 6,
                                            .piece_width = 160,
                                            .piece_height = 120,
                                            .order = same(GetParam())}));
    EXPECT_EQ(description.raw.slices, (std::vector<std::uint32_t>{76, 84}));
    EXPECT_EQ(picture_offsets(description),
              (std::vector<std::uint64_t>{photo.thumbnail_offset, photo.preview_offset, photo.small_offset}));
    EXPECT_EQ(description.make, "Canon");
}

TEST_P(BuilderInBothOrders, Dng) {
    for (const unsigned tile : {64U, 192U}) {
        const test::DngPhoto photo({.order = GetParam(), .tile_width = tile, .tile_height = tile});
        const Description description = understood(photo.bytes);
        EXPECT_EQ(description.raw.frame, (Frame{.width = 192,
                                                .height = 128,
                                                .bits = 14,
                                                .samples = 1,
                                                .coding = Coding::kLosslessJpeg,
                                                .compression = 7,
                                                .piece_width = tile,
                                                .piece_height = tile,
                                                .order = same(GetParam())}));
        ASSERT_EQ(description.raw.pieces.size(), photo.tiles());
        for (std::size_t index = 0; index < photo.tiles(); ++index) {
            const Piece& piece = description.raw.pieces[index];
            EXPECT_EQ(piece.data, (Extent{photo.tile_offsets[index], photo.tile_byte_counts[index]}));
            EXPECT_EQ(piece.offset_field->at, photo.offset_slot(index));
            EXPECT_EQ(piece.length_field->at, photo.byte_count_slot(index));
        }
        EXPECT_EQ(picture_offsets(description),
                  std::vector<std::uint64_t>(photo.preview_offsets.begin(), photo.preview_offsets.end()));
        EXPECT_EQ(description.model, "GXR A12");
    }
}

TEST(Builder, Raf) {
    const test::RafPhoto photo;
    const Description description = understood(photo.bytes);
    EXPECT_EQ(description.container, Description::Container::kRaf);
    EXPECT_EQ(description.make, "FUJIFILM");
    EXPECT_EQ(description.model, "X-A1");
    ASSERT_EQ(description.raw.pieces.size(), 1U);
    const Piece& piece = description.raw.pieces[0];
    EXPECT_EQ(piece.data, (Extent{photo.image_offset, photo.image_size}));
    EXPECT_EQ(piece.offset_field,
              (NumberField{photo.strip_offsets_entry + 8, 4, ByteOrder::kLittle, photo.second_header}));
    EXPECT_EQ(piece.length_field, (NumberField{photo.strip_byte_counts_entry + 8, 4, ByteOrder::kLittle, 0}));
    EXPECT_EQ(description.raw.frame, (Frame{.width = 160,
                                            .height = 120,
                                            .bits = 14,
                                            .coding = Coding::kUncompressed,
                                            .piece_width = 160,
                                            .piece_height = 120}));
    EXPECT_EQ(picture_offsets(description), (std::vector<std::uint64_t>{photo.jpeg, photo.thumb}));
    ASSERT_EQ(description.enclosing.size(), 1U); // The CFA data, by the header.
    EXPECT_EQ(description.enclosing[0].data,
              (Extent{photo.second_header, photo.bytes.size() - photo.second_header}));
    EXPECT_EQ(description.enclosing[0].length_field, (NumberField{104, 4, ByteOrder::kBig, 0}));
}

TEST(Builder, RafWithCompressedData) {
    test::RafPhoto photo;
    test::put_text(photo.bytes, photo.image_offset, "IS");
    EXPECT_EQ(understood(photo.bytes).raw.frame.coding, Coding::kFujiLossless);
}

TEST(Builder, Cr3) {
    for (const bool is_large : {true, false}) {
        const test::Cr3Photo photo({.pictures = true, .large_mdat = is_large});
        const Description description = understood(photo.bytes);
        EXPECT_EQ(description.container, Description::Container::kBmff);
        EXPECT_EQ(description.make, "Canon");
        EXPECT_EQ(description.model, "Canon EOS M50");
        ASSERT_EQ(description.raw.pieces.size(), 1U);
        const Piece& raw = description.raw.pieces[0];
        EXPECT_EQ(raw.data, (Extent{photo.tracks[2].offset, photo.tracks[2].size}));
        EXPECT_EQ(raw.offset_field, (NumberField{photo.offset_entry(3) - 4, 8, ByteOrder::kBig, 0}));
        EXPECT_EQ(raw.length_field, (NumberField{photo.size_entry(3), 4, ByteOrder::kBig, 0}));
        EXPECT_EQ(description.raw.frame, (Frame{.width = 160,
                                                .height = 120,
                                                .bits = 14,
                                                .coding = Coding::kCrx,
                                                .piece_width = 160,
                                                .piece_height = 120,
                                                .order = ByteOrder::kBig}));
        ASSERT_TRUE(description.raw.parameters);
        EXPECT_EQ(test::part(photo.bytes, description.raw.parameters->offset + 4,
                             description.raw.parameters->offset + 8),
                  (test::Bytes{'C', 'M', 'P', '1'}));
        EXPECT_EQ(picture_offsets(description),
                  (std::vector<std::uint64_t>{photo.thumbnail.offset, photo.preview.offset,
                                              photo.tracks[0].offset, photo.tracks[1].offset}));
        ASSERT_EQ(description.metadata.size(), 1U);
        EXPECT_EQ(description.metadata[0].data, (Extent{photo.tracks[3].offset, photo.tracks[3].size}));
        // "moov", "uuid" and "THMB"; "uuid" and "PRVW"; "mdat".
        ASSERT_EQ(description.enclosing.size(), 6U);
        EXPECT_EQ(description.enclosing[5].data,
                  (Extent{photo.at("mdat"), photo.bytes.size() - photo.at("mdat")}));
        EXPECT_EQ(description.enclosing[5].length_field->size, is_large ? 8U : 4U);
    }
}

} // namespace
} // namespace raw_mend
