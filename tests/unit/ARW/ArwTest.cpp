#include "ARW/ARW.h"

#include "api/Exceptions.h"
#include "support/ArwPhoto.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace plate_mend {
namespace {

using test::ArwPhoto;
using test::ByteOrder;
using test::Bytes;
using test::with;

// Tag numbers in the order of a little-endian file: 0x0201 as 01 02, and so on.
constexpr ARW::Pattern kJpegOffset{0x02, 0x01};
constexpr ARW::Pattern kJpegLength{0x02, 0x02};

/// Files of a few bytes, each opened as a model.
class Arw : public ::testing::Test {
  protected:
    ARW open(const Bytes& bytes) {
        path = folder / ("file" + std::to_string(++files) + ".arw");
        test::write_file(path, bytes);
        return ARW(path);
    }

    /// A model of the bytes in which a little-endian header was read, so to speak.
    ARW open_little(const Bytes& bytes) { return open(bytes); }

    ARW open_big(const Bytes& bytes) {
        ARW arw = open(bytes);
        arw.set_big_endian(true);
        return arw;
    }

    test::TempDir folder;
    std::filesystem::path path;
    int files = 0;
};

/// 64 bytes of FF, without a tag or a field type.
Bytes blank(std::size_t size = 64) {
    return Bytes(size, 0xFF);
}

// Header.

TEST_F(Arw, MissingAndEmptyFilesAreNotMapped) {
    EXPECT_FALSE(ARW(folder / "missing.arw").is_mapped());
    EXPECT_FALSE(ARW(folder / "missing.arw", true).is_mapped());
    EXPECT_FALSE(open({}).is_mapped());
    EXPECT_TRUE(open({0}).is_mapped());
}

TEST_F(Arw, ReadsALittleEndianHeaderAsStored) {
    ARW arw = open({'I', 'I', 0x2A, 0x00, 0x08, 0x01, 0x00, 0x00});
    arw.parse_header();
    EXPECT_EQ(arw.ifh->byte_order, 0x4949);
    EXPECT_EQ(arw.ifh->version, 0x2A00);
    EXPECT_EQ(arw.ifh->first_ifd_offset, 0x08010000U);
    EXPECT_FALSE(arw.is_big_endian());
    EXPECT_EQ(arw.first_ifd_offset(), 0x108U);
}

TEST_F(Arw, ReadsABigEndianHeader) {
    ARW arw = open({'M', 'M', 0x00, 0x2A, 0x00, 0x00, 0x01, 0x08});
    arw.parse_header();
    EXPECT_TRUE(arw.is_big_endian());
    EXPECT_EQ(arw.first_ifd_offset(), 0x108U);
}

TEST_F(Arw, VersionIsNotTiedToTheByteOrder) {
    EXPECT_NO_THROW(open({'I', 'I', 0x00, 0x2A, 8, 0, 0, 0}).parse_header());
    EXPECT_NO_THROW(open({'M', 'M', 0x2A, 0x00, 0, 0, 0, 8}).parse_header());
}

TEST_F(Arw, RefusesHeadersThatAreNone) {
    for (const Bytes& header : {Bytes{'I', 'M', 0x2A, 0, 8, 0, 0, 0}, Bytes{'M', 'I', 0x2A, 0, 8, 0, 0, 0},
                                Bytes{'I', 'I', 0x2B, 0, 8, 0, 0, 0}, Bytes{'I', 'I', 0x29, 0, 8, 0, 0, 0},
                                Bytes{'I', 'I', 0x2A, 0, 0, 0, 0, 0}}) {
        ARW arw = open(header);
        EXPECT_THROW(arw.parse_header(), IllegalException);
        EXPECT_EQ(arw.ifh, nullptr) << "nothing is stored";
        EXPECT_FALSE(arw.is_big_endian());
    }
}

TEST_F(Arw, HeaderOfFewerThanEightBytesIsOutOfRangeBeforeAnyFieldIsJudged) {
    const Bytes bad{'?', '?', '?', '?', 0, 0, 0, 0};
    for (std::size_t size = 1; size < 8; ++size) {
        EXPECT_THROW(open(test::part(bad, 0, size)).parse_header(), OutRangeException) << size;
    }
    EXPECT_THROW(open(bad).parse_header(), IllegalException);
}

// Directory frames.

TEST_F(Arw, ReadsADirectoryFrame) {
    // Count 2, two entries, next directory at 0x1234.
    Bytes file = blank();
    test::put_u16(file, 8, 2, ByteOrder::kLittle);
    test::put_u32(file, 8 + 2 + 24, 0x1234, ByteOrder::kLittle);
    ARW arw = open_little(file);
    EXPECT_EQ(arw.read_ifd0(8), 0x1234U);
    EXPECT_EQ(arw.ifd0->count, 0x0200) << "as stored";
    EXPECT_EQ(arw.ifd0->next, 0x34120000U) << "as stored";
    EXPECT_TRUE(arw.ifd0->entries.empty());
    EXPECT_EQ(arw.read_ifd1(8), 0x1234U);
    EXPECT_EQ(arw.ifd1->count, 0x0200);
    arw.read_ifd2(8);
    EXPECT_EQ(arw.ifd2->next, 0x34120000U);
}

TEST_F(Arw, ReadsABigEndianDirectoryFrame) {
    Bytes file = blank();
    test::put_u16(file, 8, 2, ByteOrder::kBig);
    test::put_u32(file, 8 + 2 + 24, 0x1234, ByteOrder::kBig);
    EXPECT_EQ(open_big(file).read_ifd0(8), 0x1234U);
}

TEST_F(Arw, DirectoryAtOrPastTheEndIsVisitingBeyond) {
    ARW arw = open(blank(64));
    EXPECT_THROW(arw.read_ifd0(63), OutRangeException) << "the count is cut";
    EXPECT_THROW(arw.read_ifd0(64), VisitingBeyondException);
    EXPECT_THROW(arw.read_ifd0(65), VisitingBeyondException);
    EXPECT_THROW(arw.read_ifd1(64), VisitingBeyondException);
    EXPECT_THROW(arw.read_ifd2(64), VisitingBeyondException);
    EXPECT_THROW(arw.read_ifd0(0xFFFFFFFF), VisitingBeyondException);
}

TEST_F(Arw, NextLinkMustBeInTheFile) {
    Bytes file(2 + 4, 0); // Count 0, and the link right after it.
    EXPECT_EQ(open(file).read_ifd0(0), 0U);
    file.pop_back();
    EXPECT_THROW(open(file).read_ifd0(0), OutRangeException);
}

TEST_F(Arw, AbsurdCountIsOutOfRange) {
    EXPECT_THROW(open(blank()).read_ifd0(8), OutRangeException); // 65535 entries.
}

TEST_F(Arw, ReadsTheSubIfdAtTheValueWhateverItsCount) {
    Bytes file = blank(96);
    test::put_u16(file, 40, 0, ByteOrder::kLittle);
    test::put_u32(file, 42, 7, ByteOrder::kLittle);
    ARW arw = open(file);
    arw.ifd0 = std::make_shared<ARW_IFD>();
    for (int entry = 0; entry < 3; ++entry) {
        arw.ifd0->entries.push_back(std::make_shared<ARW_DE>());
    }
    arw.ifd0->entries[2]->count = 99;
    arw.ifd0->entries[2]->value = 0x28000000; // 40, as stored.
    EXPECT_EQ(arw.read_sub_ifd(), 40U);
    EXPECT_EQ(arw.sub_ifd->next, 0x07000000U);
    arw.ifd0->entries[2]->value = 0x60000000; // 96, the file's size.
    EXPECT_THROW(arw.read_sub_ifd(), VisitingBeyondException);
}

// Field types.

TEST_F(Arw, FieldTypesAreOneToTwelve) {
    EXPECT_FALSE(ARW::is_valid_type(0));
    EXPECT_TRUE(ARW::is_valid_type(1));
    EXPECT_TRUE(ARW::is_valid_type(12));
    EXPECT_FALSE(ARW::is_valid_type(13));
    EXPECT_FALSE(ARW::is_valid_type(0x0400));
}

// Searches. In a little-endian file tag 0x0201 is stored as 01 02 and type 4 as 04 00.

TEST_F(Arw, FindsATagInEitherByteOrderAtAnyAlignment) {
    ARW little = open_little(with(blank(), 13, {0x01, 0x02, 0x04, 0x00}));
    EXPECT_EQ(little.find_tag(kJpegOffset, 0), 13U);
    EXPECT_EQ(little.find_tag_in_range(kJpegOffset, 0, 63), 13U);
    EXPECT_EQ(little.find_bytes(kJpegOffset, 0), 13U);
    ARW big = open_big(with(blank(), 13, {0x02, 0x01, 0x00, 0x04}));
    EXPECT_EQ(big.find_tag(kJpegOffset, 0), 13U);
    EXPECT_EQ(big.find_tag_in_range(kJpegOffset, 0, 63), 13U);
    EXPECT_EQ(big.find_bytes(kJpegOffset, 0), 13U);
}

TEST_F(Arw, TagWithoutAFieldTypeIsSkipped) {
    const Bytes file = with(with(blank(), 10, {0x01, 0x02, 0x0D, 0x00}), 20, {0x01, 0x02, 0x0C, 0x00});
    ARW arw = open(file);
    EXPECT_EQ(arw.find_tag(kJpegOffset, 0), 20U);
    EXPECT_EQ(arw.find_tag_in_range(kJpegOffset, 0, 63), 20U);
    EXPECT_EQ(arw.find_bytes(kJpegOffset, 0), 10U) << "find_bytes does not look at what follows";
}

TEST_F(Arw, FalseMatchWithAPlausibleTypeWins) {
    const Bytes file = with(with(blank(), 11, {0x01, 0x02, 0x05, 0x00}), 20, {0x01, 0x02, 0x04, 0x00});
    EXPECT_EQ(open(file).find_tag(kJpegOffset, 0), 11U);
    EXPECT_EQ(open(file).find_tag_in_range(kJpegOffset, 0, 63), 11U);
}

TEST_F(Arw, RangeSearchGoesOnOneByteFurtherAndTheOpenSearchTwo) {
    // 02 02 02 04 00: the match at 10 has the type 0x0402, the overlapping one at 11 the type 4.
    const Bytes file = with(blank(), 10, {0x02, 0x02, 0x02, 0x04, 0x00});
    EXPECT_EQ(open(file).find_tag_in_range(kJpegLength, 0, 63), 11U);
    EXPECT_THROW(open(file).find_tag(kJpegLength, 0), NotFoundException);
}

TEST_F(Arw, PatternOfTwoEqualBytesReadsTheSameInBothDirections) {
    EXPECT_EQ(open_little(with(blank(), 10, {0x02, 0x02, 0x04, 0x00})).find_tag(kJpegLength, 0), 10U);
    EXPECT_EQ(open_big(with(blank(), 10, {0x02, 0x02, 0x00, 0x04})).find_tag(kJpegLength, 0), 10U);
}

TEST_F(Arw, MatchAcrossTheEndOfTheRangeIsNone) {
    const Bytes file = with(blank(), 10, {0x01, 0x02, 0x04, 0x00});
    EXPECT_THROW(open(file).find_tag_in_range(kJpegOffset, 0, 10), NotFoundException);
    EXPECT_THROW(open(file).find_tag_in_range(kJpegOffset, 0, 11), NotFoundException);
    EXPECT_EQ(open(file).find_tag_in_range(kJpegOffset, 0, 12), 10U);
    EXPECT_EQ(open(file).find_tag_in_range(kJpegOffset, 10, 12), 10U);
    EXPECT_THROW(open(file).find_tag_in_range(kJpegOffset, 11, 40), NotFoundException);
}

TEST_F(Arw, EqualEndsMakeAnEmptyRange) {
    const Bytes file = with(blank(), 10, {0x01, 0x02, 0x04, 0x00});
    EXPECT_THROW(open(file).find_tag_in_range(kJpegOffset, 10, 10), NotFoundException);
}

TEST_F(Arw, EndBelowTheStartMakesARangeWithoutABound) {
    const Bytes file = with(blank(), 40, {0x01, 0x02, 0x04, 0x00});
    EXPECT_EQ(open(file).find_tag_in_range(kJpegOffset, 8, 0), 40U);
    EXPECT_EQ(open(file).find_tag_in_range(kJpegOffset, 8, 7), 40U);
    EXPECT_THROW(open(file).find_tag_in_range(kJpegOffset, 41, 0), NotFoundException)
        << "up to the last byte";
    EXPECT_THROW(open(file).find_tag_in_range(kJpegOffset, 0xFFFFFFFF, 0), NotFoundException);
}

TEST_F(Arw, EndOfARangeMustBeAByteOfTheFile) {
    ARW arw = open(with(blank(64), 10, {0x01, 0x02, 0x04, 0x00}));
    EXPECT_EQ(arw.find_tag_in_range(kJpegOffset, 0, 63), 10U);
    EXPECT_THROW(arw.find_tag_in_range(kJpegOffset, 0, 64), VisitingBeyondException);
    EXPECT_THROW(arw.find_tag_in_range(kJpegOffset, 0, 65), VisitingBeyondException);
}

TEST_F(Arw, StartOfTheOpenSearchesMayEqualTheSize) {
    ARW arw = open(blank(64));
    EXPECT_THROW(arw.find_tag(kJpegOffset, 63), NotFoundException);
    EXPECT_THROW(arw.find_tag(kJpegOffset, 64), NotFoundException);
    EXPECT_THROW(arw.find_tag(kJpegOffset, 65), OutRangeException);
    EXPECT_THROW((void)arw.find_bytes(kJpegOffset, 64), NotFoundException);
    EXPECT_THROW((void)arw.find_bytes(kJpegOffset, 65), OutRangeException);
}

TEST_F(Arw, MatchOnTheLastTwoBytesIsVisitingBeyondAndNotNotFound) {
    ARW arw = open(with(blank(64), 62, {0x01, 0x02}));
    EXPECT_THROW(arw.find_tag(kJpegOffset, 0), VisitingBeyondException);
    EXPECT_THROW(arw.find_tag_in_range(kJpegOffset, 8, 0), VisitingBeyondException);
    EXPECT_THROW(arw.find_tag_in_range(kJpegOffset, 0, 63), NotFoundException) << "it ends after the range";
    EXPECT_EQ(arw.find_bytes(kJpegOffset, 0), 62U) << "find_bytes returns such a match";
    EXPECT_THROW((void)arw.is_strip_triple(62), OutRangeException);
}

TEST_F(Arw, MatchThreeBytesBeforeTheEndHasACutType) {
    ARW arw = open(with(blank(64), 61, {0x01, 0x02, 0x04}));
    EXPECT_THROW(arw.find_tag(kJpegOffset, 0), OutRangeException);
    EXPECT_THROW(arw.find_tag_in_range(kJpegOffset, 0, 63), OutRangeException);
}

TEST_F(Arw, MatchFourBytesBeforeTheEndIsAHit) {
    ARW arw = open(with(blank(64), 60, {0x01, 0x02, 0x04, 0x00}));
    EXPECT_EQ(arw.find_tag(kJpegOffset, 0), 60U);
}

TEST_F(Arw, BoundedByteSearchHasItsOwnGuard) {
    const ARW arw = open(with(blank(64), 62, {0x01, 0x02}));
    EXPECT_EQ(arw.find_bytes_in_range(kJpegOffset, 0, 64), 62U);
    EXPECT_THROW((void)arw.find_bytes_in_range(kJpegOffset, 0, 63), NotFoundException);
    EXPECT_THROW((void)arw.find_bytes_in_range(kJpegOffset, 0, 65), OutRangeException);
}

// Tag collection.

/// Three entries side by side from the offset on: 12 bytes each.
Bytes with_entries(Bytes file, std::size_t offset, const std::vector<std::uint16_t>& tags) {
    for (const std::uint16_t tag : tags) {
        test::put_u16(file, offset, tag, ByteOrder::kLittle);
        test::put_u16(file, offset + 2, 4, ByteOrder::kLittle);
        test::put_u32(file, offset + 4, 1, ByteOrder::kLittle);
        test::put_u32(file, offset + 8, 0x01020300U + tag, ByteOrder::kLittle);
        offset += 12;
    }
    return file;
}

TEST_F(Arw, CollectsTheEntriesOfIfd0InTheOrderOfTheSearch) {
    ARW arw = open(with_entries(blank(96), 20, {330, 514, 513}));
    arw.ifd0 = std::make_shared<ARW_IFD>();
    arw.read_ifd0_tags(8, 80);
    ASSERT_EQ(arw.ifd0->entries.size(), 3U);
    const std::vector<std::uint16_t> tags{513, 514, 330};
    for (std::size_t entry = 0; entry < 3; ++entry) {
        EXPECT_EQ(arw.native(arw.ifd0->entries[entry]->tag), tags[entry]);
        EXPECT_EQ(arw.native(arw.ifd0->entries[entry]->type), 4);
        EXPECT_EQ(arw.native(arw.ifd0->entries[entry]->count), 1U);
        EXPECT_EQ(arw.native(arw.ifd0->entries[entry]->value), 0x01020300U + tags[entry]);
        EXPECT_EQ(arw.ifd0->entries[entry]->position, 0U);
    }
}

TEST_F(Arw, CollectsTheEntriesOfIfd1AndIfd2) {
    ARW arw = open(with_entries(blank(96), 20, {514, 513}));
    arw.ifd1 = std::make_shared<ARW_IFD>();
    arw.ifd2 = std::make_shared<ARW_IFD>();
    arw.read_ifd1_tags(8, 80);
    arw.read_ifd2_tags(8);
    for (const auto& ifd : {arw.ifd1, arw.ifd2}) {
        ASSERT_EQ(ifd->entries.size(), 2U);
        EXPECT_EQ(arw.native(ifd->entries[0]->tag), 513);
        EXPECT_EQ(arw.native(ifd->entries[1]->tag), 514);
    }
}

TEST_F(Arw, KeepsThePositionOfTheByteCountsAlone) {
    ARW arw = open(with_entries(blank(96), 20, {273, 278, 279}));
    arw.sub_ifd = std::make_shared<ARW_IFD>();
    arw.read_sub_ifd_tags(8);
    ASSERT_EQ(arw.sub_ifd->entries.size(), 3U);
    EXPECT_EQ(arw.sub_ifd->entries[0]->position, 0U);
    EXPECT_EQ(arw.sub_ifd->entries[1]->position, 0U);
    EXPECT_EQ(arw.sub_ifd->entries[2]->position, 44U);
    EXPECT_EQ(arw.native(arw.sub_ifd->entries[2]->tag), 279);
}

TEST_F(Arw, EverySearchRestartsAtTheOperationsOwnStart) {
    // The second tag of each collection is before the first.
    ARW arw = open(with_entries(blank(96), 20, {279, 278, 273}));
    arw.sub_ifd = std::make_shared<ARW_IFD>();
    arw.read_sub_ifd_tags(8);
    EXPECT_EQ(arw.sub_ifd->entries[2]->position, 20U);
}

TEST_F(Arw, CollectionOfARangeRefusesAnEndPastTheLastByteBeforeItSearches) {
    ARW arw = open(blank(64));
    arw.ifd0 = arw.ifd1 = std::make_shared<ARW_IFD>();
    EXPECT_THROW(arw.read_ifd0_tags(0, 64), VisitingBeyondException);
    EXPECT_THROW(arw.read_ifd1_tags(0, 64), VisitingBeyondException);
    EXPECT_THROW(arw.read_ifd0_tags(0, 63), NotFoundException);
    EXPECT_THROW(arw.read_ifd1_tags(0, 63), NotFoundException);
}

TEST_F(Arw, OpenCollectionRefusesAStartPastTheLastByteBeforeItSearches) {
    ARW arw = open(blank(64));
    arw.sub_ifd = arw.ifd2 = std::make_shared<ARW_IFD>();
    EXPECT_THROW(arw.read_sub_ifd_tags(64), VisitingBeyondException);
    EXPECT_THROW(arw.read_ifd2_tags(64), VisitingBeyondException);
    EXPECT_THROW(arw.read_sub_ifd_tags(63), NotFoundException);
    EXPECT_THROW(arw.read_ifd2_tags(63), NotFoundException);
}

TEST_F(Arw, HitFourToElevenBytesBeforeTheEndIsACutEntry) {
    for (std::size_t left = 4; left <= 12; ++left) {
        Bytes file = with_entries(blank(96), 20, {513, 514});
        file.resize(20 + 12 + left);
        ARW arw = open(file);
        arw.ifd2 = std::make_shared<ARW_IFD>();
        if (left < 12) {
            EXPECT_THROW(arw.read_ifd2_tags(8), OutRangeException) << left;
        } else {
            EXPECT_NO_THROW(arw.read_ifd2_tags(8));
        }
    }
}

// Previews.

/// Lets the three directories name previews at the offsets.
void name_previews(ARW& arw, std::uint32_t first, std::uint32_t second, std::uint32_t third) {
    const auto directory_of = [&arw](std::uint32_t offset) {
        auto ifd = std::make_shared<ARW_IFD>();
        ifd->entries.push_back(std::make_shared<ARW_DE>());
        ifd->entries[0]->value = arw.native(offset); // Swapping works in both directions.
        return ifd;
    };
    arw.ifd0 = directory_of(first);
    arw.ifd1 = directory_of(second);
    arw.ifd2 = directory_of(third);
}

TEST_F(Arw, BlanksThirtyBytesOfEachPreview) {
    for (const bool big_endian : {false, true}) {
        ARW arw = open(Bytes(400, 0xAA));
        arw.set_big_endian(big_endian);
        name_previews(arw, 10, 100, 200);
        arw.clear_previews();
        arw.map->close();
        Bytes expected(400, 0xAA);
        for (const std::size_t offset : {10U, 100U, 200U}) {
            expected = test::zeroed(expected, offset, offset + 30);
        }
        EXPECT_EQ(test::read_file(path), expected);
    }
}

TEST_F(Arw, PreviewThirtyOneBytesBeforeTheEndPasses) {
    ARW arw = open(Bytes(100, 0xAA));
    name_previews(arw, 69, 69, 69);
    EXPECT_NO_THROW(arw.clear_previews());
    arw.map->close();
    EXPECT_EQ(test::read_file(path), test::zeroed(Bytes(100, 0xAA), 69, 99));
}

TEST_F(Arw, PreviewThirtyBytesBeforeTheEndIsBlankedInFullAndFails) {
    ARW arw = open(Bytes(100, 0xAA));
    name_previews(arw, 70, 0, 0);
    EXPECT_THROW(arw.clear_previews(), OutRangeException);
    arw.map->close();
    EXPECT_EQ(test::read_file(path), test::zeroed(Bytes(100, 0xAA), 70, 100)) << "the others are not reached";
}

TEST_F(Arw, PreviewTwentyNineBytesBeforeTheEndIsBlankedAsFarAsItGoesAndFails) {
    ARW arw = open(Bytes(100, 0xAA));
    name_previews(arw, 0, 71, 50);
    EXPECT_THROW(arw.clear_previews(), OutRangeException);
    arw.map->close();
    const Bytes first = test::zeroed(Bytes(100, 0xAA), 0, 30);
    EXPECT_EQ(test::read_file(path), test::zeroed(first, 71, 100)) << "what was blanked before stays";
}

TEST_F(Arw, PreviewAtOrPastTheEndWritesNothingAndFails) {
    for (const std::uint32_t offset : {100U, 101U, 0xFFFFFFFFU}) {
        ARW arw = open(Bytes(100, 0xAA));
        name_previews(arw, offset, 0, 0);
        EXPECT_THROW(arw.clear_previews(), OutRangeException);
        arw.map->close();
        EXPECT_EQ(test::read_file(path), Bytes(100, 0xAA));
    }
}

// Strip triples.

TEST_F(Arw, RecognisesThreeStripEntriesSideBySide) {
    EXPECT_TRUE(open(with_entries(blank(96), 20, {273, 278, 279})).is_strip_triple(20));
    EXPECT_FALSE(open(with_entries(blank(96), 20, {273, 278, 280})).is_strip_triple(20));
    EXPECT_FALSE(open(with_entries(blank(96), 20, {273, 277, 279})).is_strip_triple(20));
    EXPECT_FALSE(open(with_entries(blank(96), 20, {272, 278, 279})).is_strip_triple(20));
    EXPECT_FALSE(open(with_entries(blank(96), 20, {273, 278, 279})).is_strip_triple(21));
}

TEST_F(Arw, RecognisesABigEndianTriple) {
    Bytes file = blank(96);
    test::put_u16(file, 20, 273, ByteOrder::kBig);
    test::put_u16(file, 32, 278, ByteOrder::kBig);
    test::put_u16(file, 44, 279, ByteOrder::kBig);
    EXPECT_TRUE(open_big(file).is_strip_triple(20));
    EXPECT_FALSE(open_little(file).is_strip_triple(20));
}

TEST_F(Arw, TripleNeedsTwentySixBytesWhateverIsThere) {
    for (const Bytes& file : {with_entries(blank(96), 20, {273, 278, 279}), blank(96)}) {
        EXPECT_NO_THROW((void)open(test::part(file, 0, 20 + 27)).is_strip_triple(20));
        EXPECT_NO_THROW((void)open(test::part(file, 0, 20 + 26)).is_strip_triple(20));
        EXPECT_THROW((void)open(test::part(file, 0, 20 + 25)).is_strip_triple(20), OutRangeException);
    }
}

TEST_F(Arw, TriplePastTheEndIsVisitingBeyond) {
    ARW arw = open(blank(64));
    EXPECT_THROW((void)arw.is_strip_triple(63), OutRangeException);
    EXPECT_THROW((void)arw.is_strip_triple(64), VisitingBeyondException);
    EXPECT_THROW(arw.read_strip_triple(64), VisitingBeyondException);
}

TEST_F(Arw, ReadsTheThreeEntriesAndNeedsThirtySixBytes) {
    const Bytes file = with_entries(blank(96), 20, {273, 278, 279});
    ARW arw = open(test::part(file, 0, 20 + 36));
    arw.read_strip_triple(20);
    EXPECT_EQ(arw.sub_ifd->count, 0);
    EXPECT_EQ(arw.sub_ifd->next, 0U);
    ASSERT_EQ(arw.sub_ifd->entries.size(), 3U);
    const std::vector<std::uint16_t> tags{273, 278, 279};
    for (std::size_t entry = 0; entry < 3; ++entry) {
        EXPECT_EQ(arw.native(arw.sub_ifd->entries[entry]->tag), tags[entry]);
        EXPECT_EQ(arw.native(arw.sub_ifd->entries[entry]->value), 0x01020300U + tags[entry]);
        EXPECT_EQ(arw.sub_ifd->entries[entry]->position, 0U);
    }
    EXPECT_THROW(open(test::part(file, 0, 20 + 35)).read_strip_triple(20), OutRangeException);
}

// Whole photographs.

TEST_F(Arw, ReadsAPhotographByTheOrderOfTheRepair) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        const ArwPhoto photo(ArwPhoto::Options{.order = order});
        ARW arw = open(photo.bytes);
        arw.parse_header();
        EXPECT_EQ(arw.is_big_endian(), order == ByteOrder::kBig);
        ASSERT_EQ(arw.first_ifd_offset(), photo.ifd0.offset);
        const std::uint32_t ifd1 = arw.read_ifd0(photo.ifd0.offset);
        EXPECT_EQ(ifd1, photo.ifd1.offset);
        arw.read_ifd0_tags(photo.ifd0.offset, ifd1);
        const std::uint32_t sub_ifd = arw.read_sub_ifd();
        EXPECT_EQ(sub_ifd, photo.sub_ifd.offset);
        arw.read_sub_ifd_tags(sub_ifd);
        const std::uint32_t ifd2 = arw.read_ifd1(ifd1);
        EXPECT_EQ(ifd2, photo.ifd2.offset);
        arw.read_ifd1_tags(ifd1, ifd2);
        arw.read_ifd2(ifd2);
        arw.read_ifd2_tags(ifd2);
        EXPECT_EQ(arw.native(arw.sub_ifd->entries[0]->value), photo.image_offset);
        EXPECT_EQ(arw.native(arw.sub_ifd->entries[2]->value), photo.image_size);
        EXPECT_EQ(arw.sub_ifd->entries[2]->position, photo.strip_entries + 24);
        EXPECT_EQ(arw.native(arw.ifd0->entries[0]->value), photo.preview_offsets[0]);
        EXPECT_EQ(arw.native(arw.ifd1->entries[0]->value), photo.preview_offsets[1]);
        EXPECT_EQ(arw.native(arw.ifd2->entries[0]->value), photo.preview_offsets[2]);
    }
}

TEST_F(Arw, DirectoryChainOfOneReadsTheHeaderAsIfd1) {
    // IFD 0 has the next offset 0: its range has no bound, and "IFD 1" at 0 takes the header for a count.
    ArwPhoto photo;
    test::put_u32(photo.bytes, photo.ifd0.next_link, 0, ByteOrder::kLittle);
    ARW arw = open(photo.bytes);
    arw.parse_header();
    EXPECT_EQ(arw.read_ifd0(8), 0U);
    arw.read_ifd0_tags(8, 0);
    EXPECT_EQ(arw.native(arw.ifd0->entries[2]->value), photo.sub_ifd.offset);
    // "II" as a count leads past the end of so small a file.
    EXPECT_THROW(arw.read_ifd1(0), OutRangeException);
}

} // namespace
} // namespace plate_mend
