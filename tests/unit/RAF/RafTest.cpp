#include "unit/RAF/RafModel.h"

#include "api/Exceptions.h"
#include "support/RafPhoto.h"

#include <gtest/gtest.h>

namespace plate_mend {
namespace {

using test::ByteOrder;
using test::Bytes;
using test::with;

const RAF::Pattern kPattern{0x07, 0xF0, 0x04};

using Raf = RafModel;

// The file.

TEST_F(Raf, MissingAndEmptyFilesAreNotMapped) {
    EXPECT_FALSE(RAF(folder / "missing.raf").is_mapped());
    EXPECT_FALSE(open({}).is_mapped());
    EXPECT_TRUE(open({0}).is_mapped());
}

TEST_F(Raf, BeginsEmpty) {
    const RAF raf = open({0});
    EXPECT_EQ(raf.big_endian(), 0);
    EXPECT_EQ(raf.first_ifh_offset(), 0U);
    EXPECT_EQ(raf.second_ifh_offset(), 0U);
    EXPECT_TRUE(raf.tiff_offsets.empty());
    EXPECT_EQ(raf.spare_ifd, nullptr);
    EXPECT_EQ(raf.thumb_ifd, nullptr);
    EXPECT_EQ(raf.strip_ifd, nullptr);
    EXPECT_EQ(RAF_IFD().count, 0);
    EXPECT_EQ(RAF_IFD().next, 0U);
}

TEST_F(Raf, KeepsTheByteOrderItIsGiven) {
    RAF raf = open({0});
    raf.set_big_endian(1);
    EXPECT_EQ(raf.big_endian(), 1);
    raf.set_big_endian(0);
    EXPECT_EQ(raf.big_endian(), 0);
}

// Searches.

TEST_F(Raf, FindsTheFirstMatchFromTheStartOn) {
    const RAF raf = open(with(with(blank_bytes(64), 11, kPattern), 30, kPattern));
    EXPECT_EQ(raf.search_tag(kPattern, 0), 11U);
    EXPECT_EQ(raf.search_tag(kPattern, 11), 11U);
    EXPECT_EQ(raf.search_tag(kPattern, 12), 30U);
    EXPECT_THROW((void)raf.search_tag(kPattern, 31), NotFoundException);
}

TEST_F(Raf, SearchGoesOnOneByteFurtherAfterAFalseStart) {
    EXPECT_EQ(open(with(blank_bytes(64), 10, {0x07, 0x07, 0xF0, 0x04})).search_tag(kPattern, 0), 11U);
}

TEST_F(Raf, PatternThatEndsOnTheLastByteIsFound) {
    const RAF raf = open(with(blank_bytes(64), 61, kPattern));
    EXPECT_EQ(raf.search_tag(kPattern, 0), 61U);
    EXPECT_EQ(raf.search_tag(kPattern, 61), 61U);
    EXPECT_EQ(raf.search_tag_in_range(kPattern, 0, 64), 61U);
    EXPECT_EQ(open(kPattern).search_tag(kPattern, 0), 0U) << "the whole file";
    EXPECT_THROW((void)open(with(blank_bytes(64), 62, {0x07, 0xF0})).search_tag(kPattern, 0),
                 NotFoundException)
        << "cut by the end";
}

TEST_F(Raf, StartOfASearchMayEqualTheSize) {
    const RAF raf = open(blank_bytes(64));
    EXPECT_THROW((void)raf.search_tag(kPattern, 63), NotFoundException);
    EXPECT_EQ(message_of<NotFoundException>([&] { (void)raf.search_tag(kPattern, 64); }),
              "not found order tag");
    EXPECT_EQ(message_of<OutRangeException>([&] { (void)raf.search_tag(kPattern, 65); }),
              "search tag offset out of range");
    EXPECT_EQ(message_of<OutRangeException>([&] { (void)raf.search_order_tag(kPattern, 65); }),
              "search tag offset out of range");
}

TEST_F(Raf, MatchAcrossTheEndOfTheRangeIsNone) {
    const RAF raf = open(with(blank_bytes(64), 10, kPattern));
    EXPECT_THROW((void)raf.search_tag_in_range(kPattern, 0, 12), NotFoundException);
    EXPECT_EQ(raf.search_tag_in_range(kPattern, 0, 13), 10U);
    EXPECT_EQ(raf.search_tag_in_range(kPattern, 10, 13), 10U);
    EXPECT_THROW((void)raf.search_tag_in_range(kPattern, 11, 64), NotFoundException);
    EXPECT_EQ(message_of<NotFoundException>([&] { (void)raf.search_tag_in_range(kPattern, 10, 12); }),
              "not found order tag")
        << "shorter than the pattern";
    EXPECT_THROW((void)raf.search_tag_in_range(kPattern, 10, 10), NotFoundException);
    EXPECT_THROW((void)raf.search_tag_in_range(kPattern, 20, 5), NotFoundException);
}

TEST_F(Raf, EndOfARangeMayEqualTheSize) {
    const RAF raf = open(blank_bytes(64));
    EXPECT_THROW((void)raf.search_tag_in_range(kPattern, 0, 64), NotFoundException);
    EXPECT_EQ(message_of<OutRangeException>([&] { (void)raf.search_tag_in_range(kPattern, 0, 65); }),
              "search tag end offset out of range");
    EXPECT_EQ(message_of<OutRangeException>([&] { (void)raf.search_order_tag_in_range(kPattern, 0, 65); }),
              "search tag end offset out of range");
    EXPECT_THROW((void)raf.search_tag_in_range(kPattern, 65, 64), NotFoundException)
        << "the start is not judged";
}

TEST_F(Raf, OrderedSearchTakesThePatternBackToFrontInALittleEndianFile) {
    const Bytes file = with(with(blank_bytes(64), 10, {0xF0, 0x07}), 20, {0x07, 0xF0});
    EXPECT_EQ(open(file).search_order_tag({0xF0, 0x07}, 0), 20U);
    EXPECT_EQ(open_big(file).search_order_tag({0xF0, 0x07}, 0), 10U);
    EXPECT_EQ(open(file).search_order_tag_in_range({0xF0, 0x07}, 0, 64), 20U);
    EXPECT_EQ(open_big(file).search_order_tag_in_range({0xF0, 0x07}, 0, 64), 10U);
    EXPECT_EQ(open(file).search_tag({0xF0, 0x07}, 0), 10U) << "the plain search does not";
    EXPECT_EQ(open(with(blank_bytes(64), 5, {3, 2, 1})).search_order_tag({1, 2, 3}, 0), 5U);
    EXPECT_THROW((void)open(blank_bytes(64)).search_order_tag({0xF0, 0x07}, 0), NotFoundException);
}

// Headers.

const Bytes kHeader{'I', 'I', 0x2A, 0x00, 0x08, 0x00, 0x00, 0x00};

TEST_F(Raf, ReadsTwoHeadersAsStored) {
    RAF raf =
        open(with(with(blank_bytes(64), 5, kHeader), 40, {'I', 'I', 0x2A, 0x00, 0x34, 0x12, 0x00, 0x00}));
    raf.read_ifh({5, 40});
    EXPECT_EQ(raf.first_ifh_offset(), 5U);
    EXPECT_EQ(raf.first_ifh.byte_order, 0x4949);
    EXPECT_EQ(raf.first_ifh.flag, 0x2A00);
    EXPECT_EQ(raf.first_ifh.first_ifd_offset, 0x08000000U);
    EXPECT_EQ(raf.second_ifh_offset(), 40U);
    EXPECT_EQ(raf.second_ifh.first_ifd_offset, 0x34120000U);
}

TEST_F(Raf, ByteOrderComesFromTheFirstHeader) {
    RAF raf = open_big(kHeader);
    raf.read_ifh({0, 0});
    EXPECT_EQ(raf.big_endian(), 0);
}

TEST_F(Raf, BigEndianHeadersAreRefusedAlthoughTheyAreFound) {
    const Bytes file = with(with(blank_bytes(64), 5, RAF::kBigEndianHeader), 40, RAF::kBigEndianHeader);
    RAF raf = open(file);
    ASSERT_EQ(raf.search_tag(RAF::kBigEndianHeader, 0), 5U);
    EXPECT_EQ(message_of<IllegalException>([&] { raf.read_ifh({5, 40}); }), "byte order flag illegal");
    EXPECT_EQ(raf.first_ifh_offset(), 0U) << "nothing is stored";

    RAF second = open(with(file, 5, kHeader));
    EXPECT_EQ(message_of<IllegalException>([&] { second.read_ifh({5, 40}); }), "byte order flag illegal");
    EXPECT_EQ(second.first_ifh_offset(), 5U) << "the first one is";
    EXPECT_EQ(second.second_ifh_offset(), 0U);
}

TEST_F(Raf, EitherSpellingOfFortyTwoPasses) {
    EXPECT_NO_THROW(open({'I', 'I', 0x00, 0x2A, 8, 0, 0, 0}).read_ifh({0, 0}));
    EXPECT_NO_THROW(open({'I', 'I', 0x2A, 0x00, 8, 0, 0, 0}).read_ifh({0, 0}));
}

TEST_F(Raf, HeadersAreJudgedFieldByField) {
    const auto refusal = [&](const Bytes& header) {
        return message_of<IllegalException>([&] { open(header).read_ifh({0, 0}); });
    };
    EXPECT_EQ(refusal({'I', 'M', 0x2B, 0x00, 0, 0, 0, 0}), "byte order flag illegal") << "first of three";
    EXPECT_EQ(refusal({'M', 'I', 0x2A, 0x00, 8, 0, 0, 0}), "byte order flag illegal");
    EXPECT_EQ(refusal({'I', 'I', 0x2B, 0x00, 0, 0, 0, 0}), "raf flag illegal") << "first of two";
    EXPECT_EQ(refusal({'I', 'I', 0x29, 0x00, 8, 0, 0, 0}), "raf flag illegal");
    EXPECT_EQ(refusal({'I', 'I', 0x2A, 0x01, 8, 0, 0, 0}), "raf flag illegal");
    EXPECT_EQ(refusal({'I', 'I', 0x2A, 0x00, 0, 0, 0, 0}), "first ifd offset illegal");
    EXPECT_EQ(refusal({'I', 'I', 0x2A, 0x00, 0, 0, 0, 1}), "none");
}

TEST_F(Raf, HeaderPastTheEndIsVisitingBeyond) {
    const Bytes file = with(blank_bytes(64), 0, kHeader);
    for (const std::uint32_t offset : {64U, 65U, 0xFFFFFFFFU}) {
        EXPECT_EQ(message_of<VisitingBeyondException>([&] {
                      open(file).read_ifh({offset, 0});
                  }),
                  "first ifh offset out of range");
        EXPECT_EQ(message_of<VisitingBeyondException>([&] {
                      open(file).read_ifh({0, offset});
                  }),
                  "second ifh offset out of range");
    }
}

TEST_F(Raf, HeaderCutByTheEndIsOutOfRange) {
    for (std::uint32_t left = 1; left < 8; ++left) {
        const Bytes file = test::joined(kHeader, test::part(kHeader, 0, left));
        EXPECT_EQ(message_of<OutRangeException>([&] { open(file).read_ifh({0, 8}); }), "") << left;
    }
    EXPECT_NO_THROW(open(test::joined(kHeader, kHeader)).read_ifh({0, 8}));
}

// From IFD 0 to IFD 1.

/// A header at the offset with an IFD 0 of two entries after it, and the next link.
Bytes file_with_ifd0(std::uint32_t header, std::uint32_t next, ByteOrder order) {
    Bytes file = blank_bytes(128);
    test::put_u16(file, header + 8, 2, order);
    test::put_u32(file, header + 8 + 2 + 24, next, order);
    return file;
}

TEST_F(Raf, Ifd1IsRelativeToTheFirstHeader) {
    RAF little = open(file_with_ifd0(13, 0x1234, ByteOrder::kLittle));
    little.first_ifh.position = 13;
    little.first_ifh.first_ifd_offset = 0x63000000; // 99: not used.
    EXPECT_EQ(little.ifd1_offset(), 0x1234U + 13);
    RAF big = open_big(file_with_ifd0(13, 0x1234, ByteOrder::kBig));
    big.first_ifh.position = 13;
    EXPECT_EQ(big.ifd1_offset(), 0x1234U + 13);
}

TEST_F(Raf, NextLinkOfZeroReturnsTheFirstHeader) {
    RAF raf = open(file_with_ifd0(13, 0, ByteOrder::kLittle));
    raf.first_ifh.position = 13;
    EXPECT_EQ(raf.ifd1_offset(), 13U);
}

TEST_F(Raf, SumWithTheHeaderWraps) {
    RAF raf = open(file_with_ifd0(13, 0xFFFFFFFF, ByteOrder::kLittle));
    raf.first_ifh.position = 13;
    EXPECT_EQ(raf.ifd1_offset(), 12U);
}

TEST_F(Raf, Ifd0PastTheEndIsVisitingBeyond) {
    EXPECT_EQ(message_of<VisitingBeyondException>([&] { (void)open(blank_bytes(8)).ifd1_offset(); }),
              "ifd 0 offset out of range");
    EXPECT_EQ(message_of<VisitingBeyondException>([&] { (void)open(blank_bytes(7)).ifd1_offset(); }),
              "ifd 0 offset out of range");
    EXPECT_THROW((void)open(blank_bytes(9)).ifd1_offset(), OutRangeException) << "the count is cut";
}

TEST_F(Raf, NextLinkPastTheEndIsVisitingBeyond) {
    // Count 1: the link is at 8 + 2 + 12.
    Bytes file = with(Bytes(22), 8, {1, 0});
    EXPECT_EQ(message_of<VisitingBeyondException>([&] { (void)open(file).ifd1_offset(); }),
              "ifd 0 to 1 offset out of range");
    for (const std::size_t cut : {23U, 24U, 25U}) {
        file.resize(cut);
        EXPECT_THROW((void)open(file).ifd1_offset(), OutRangeException) << cut;
    }
    file.resize(26);
    EXPECT_EQ(open(file).ifd1_offset(), 0U);
}

TEST_F(Raf, AbsurdCountOfIfd0IsVisitingBeyond) {
    EXPECT_THROW((void)open(with(blank_bytes(64), 8, {0xFF, 0xFF})).ifd1_offset(), VisitingBeyondException);
}

TEST_F(Raf, WalksAPhotographFromItsFirstHeader) {
    const test::RafPhoto photo;
    RAF raf = open(photo.bytes);
    raf.read_ifh({photo.first_header, photo.second_header});
    EXPECT_EQ(raf.ifd1_offset(), photo.ifd1);
}

} // namespace
} // namespace plate_mend
