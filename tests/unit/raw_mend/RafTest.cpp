#include "Consistency.h"
#include "container/Describe.h"
#include "support/Bytes.h"
#include "support/RafPhoto.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace raw_mend {
namespace {

using test::Bytes;
using ::testing::Contains;
using ::testing::IsEmpty;

constexpr test::ByteOrder kBig = test::ByteOrder::kBig;
constexpr std::uint32_t kCfaHeader = 200;
constexpr std::uint32_t kCfaData = 512;

/// An old camera's file: CFA data without directories. 8 rows of 16 samples of 16 bits.
Bytes old_raf() {
    Bytes bytes(1024);
    test::put_text(bytes, 0, "FUJIFILMCCD-RAW 0201FF389502FinePix S2Pro");
    const auto put_range = [&](std::size_t at, std::uint32_t offset, std::uint32_t length) {
        test::put_u32(bytes, at, offset, kBig);
        test::put_u32(bytes, at + 4, length, kBig);
    };
    put_range(84, 160, 20);
    put_range(92, kCfaHeader, 20);
    put_range(100, kCfaData, 256);
    // Two tags: one of six bytes, then the sensor's size.
    test::put_bytes(bytes, kCfaHeader,
                    {0, 0, 0, 2, 0x01, 0x10, 0, 4, 0, 0, 0, 0, 0x01, 0x00, 0, 4, 0, 8, 0, 16});
    return bytes;
}

TEST(Raf, WithoutADirectoryTakesTheNumbersOfTheHeader) {
    const Description description = described(old_raf());
    EXPECT_EQ(description.model, "FinePix S2Pro");
    ASSERT_EQ(description.raw.pieces.size(), 1U);
    const Piece& piece = description.raw.pieces[0];
    EXPECT_EQ(piece.data, (Extent{kCfaData, 256}));
    EXPECT_EQ(piece.offset_field, (NumberField{100, 4, ByteOrder::kBig, 0}));
    EXPECT_EQ(piece.length_field, (NumberField{104, 4, ByteOrder::kBig, 0}));
    EXPECT_EQ(description.raw.frame, (Frame{.width = 16,
                                            .height = 8,
                                            .bits = 16, // By the length.
                                            .coding = Coding::kUncompressed,
                                            .piece_width = 16,
                                            .piece_height = 8}));
    EXPECT_EQ(description.tables, (std::vector<Extent>{{0, 160}, {kCfaHeader, 20}}));
    EXPECT_THAT(description.enclosing, IsEmpty());
    EXPECT_THAT(description.not_understood, IsEmpty());
}

TEST(Raf, ReadsTheCfaHeaderOnlyUpToItsEnd) {
    Bytes bytes = old_raf();
    test::put_u32(bytes, 96, 12, kBig); // The size of the sensor is after that.
    const Description description = described(bytes);
    EXPECT_EQ(description.raw.frame.width, 0U);
    EXPECT_EQ(description.raw.frame.height, 0U);
}

TEST(Raf, HasASecondSetOfCfaData) {
    Bytes bytes = old_raf();
    test::put_u32(bytes, 120, kCfaHeader, kBig);
    test::put_u32(bytes, 124, 20, kBig);
    test::put_u32(bytes, 128, 800, kBig);
    test::put_u32(bytes, 132, 128, kBig);
    const Description description = described(bytes);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{kCfaData, 256}));
    ASSERT_EQ(description.pictures.size(), 2U); // That, and the JPEG.
    EXPECT_EQ(description.pictures[0].pieces[0].data, (Extent{800, 128}));
    EXPECT_EQ(description.pictures[0].pieces[0].offset_field->at, 128U);
    // A header that ends where the JPEG begins has no second set.
    test::put_u32(bytes, 84, 108, kBig);
    EXPECT_EQ(described(bytes).pictures.size(), 1U);
}

TEST(Raf, CompressedByItsLengthWhereTheDataAreNotThere) {
    test::RafPhoto photo;
    test::put_u32(photo.bytes, photo.strip_byte_counts_entry + 8, 10000, test::ByteOrder::kLittle);
    photo.bytes.resize(photo.image_offset);
    const Description description = described(photo.bytes);
    EXPECT_EQ(description.raw.frame.coding, Coding::kFujiLossless);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{photo.image_offset, 10000}));
}

TEST(Raf, WithoutALengthExtendsToTheEnd) {
    test::RafPhoto photo;
    test::put_u16(photo.bytes, photo.strip_byte_counts_entry, 0xF0FF, test::ByteOrder::kLittle);
    const Description description = described(photo.bytes);
    ASSERT_EQ(description.raw.pieces.size(), 1U);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{photo.image_offset, photo.image_size}));
    EXPECT_FALSE(description.raw.pieces[0].length_field);
}

TEST(Raf, ReportsCfaDataThatNameNoImage) {
    test::RafPhoto photo;
    test::put_u16(photo.bytes, photo.strip_offsets_entry, 0xF0FF, test::ByteOrder::kLittle);
    EXPECT_THAT(described(photo.bytes).not_understood,
                Contains("The CFA data at offset " + std::to_string(photo.second_header) +
                         " have no directory that says where the image is."));
}

TEST(Raf, ReportsAHeaderThatNamesNothing) {
    Bytes bytes(148);
    test::put_text(bytes, 0, "FUJIFILMCCD-RAW ");
    const Description description = described(bytes);
    EXPECT_THAT(description.raw.pieces, IsEmpty());
    EXPECT_THAT(description.not_understood, Contains("The header names no CFA data."));
    bytes.resize(16);
    EXPECT_THAT(described(bytes).raw.pieces, IsEmpty());
}

} // namespace
} // namespace raw_mend
