#include "CR2/CR2.h"

#include "api/Exceptions.h"
#include "support/Bytes.h"
#include "support/TiffWriter.h"
#include "unit/entry_models/EntryModelFixture.h"

#include <gmock/gmock.h>

#include <vector>

namespace plate_mend {
namespace {

using test::ByteOrder;
using test::Bytes;
using test::entry_bytes;
using test::joined;
using test::part;
using test::zeroed;
using Shorts = std::vector<std::uint16_t>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr CR2::Pattern kStripOffsets{0x01, 0x11};

/// The 16 bytes of a header.
Bytes header_bytes(ByteOrder order, std::uint16_t version = 42) {
    const unsigned char mark = order == ByteOrder::kLittle ? 'I' : 'M';
    Bytes bytes{mark, mark, 0, 0, 0, 0, 0, 0, 'C', 'R', 2, 0, 0, 0, 0, 0};
    test::put_u16(bytes, 2, version, order);
    test::put_u32(bytes, 4, 0x10203040, order);
    test::put_u32(bytes, 12, 0x50607080, order);
    return bytes;
}

class Cr2Model : public EntryModelFixture<CR2, CR2_DE> {
  protected:
    Cr2Model() : EntryModelFixture("cr2") {}
};

// The model itself.

TEST_F(Cr2Model, EmptyOrMissingFileIsNotValidAndNoOperationFaults) {
    test::write_file(folder / "empty.cr2", {});
    for (const char* name : {"empty.cr2", "missing.cr2"}) {
        CR2 cr2(folder / name);
        EXPECT_FALSE(cr2.is_valid());
        EXPECT_EQ(cr2.size(), 0U);
        EXPECT_THROW((void)cr2.find_tag(kStripOffsets, 0), NotFoundException);
        EXPECT_THROW(cr2.parse_header(), OutRangeException);
        EXPECT_THROW(cr2.blank_entry_data(entry, 0), OutRangeException);
        EXPECT_THROW(cr2.read_next_ifd_link(entry, 0), OutRangeException);
        EXPECT_THROW(cr2.read_entry_value(entry, 0), OutRangeException);
        EXPECT_THROW(cr2.blank_strip(entry, counts, 0, 0), OutRangeException);
        EXPECT_THROW((void)cr2.is_raw_strip_entry(0), OutRangeException);
    }
}

// The header.

class Cr2Header : public Cr2Model, public ::testing::WithParamInterface<ByteOrder> {
  protected:
    /// parse_header must find a good header with these bytes put in illegal.
    void expect_illegal_with(std::size_t offset, const Bytes& value) {
        Bytes bytes = header_bytes(GetParam());
        test::put_bytes(bytes, offset, value);
        EXPECT_THROW(open(bytes).parse_header(), IllegalException) << "at " << offset;
    }
};

INSTANTIATE_TEST_SUITE_P(ByteOrders, Cr2Header, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         [](const auto& order) { return order.param == ByteOrder::kBig ? "MM" : "II"; });

TEST_P(Cr2Header, IsReadInItsByteOrderButTheMarker) {
    CR2& cr2 = open(header_bytes(GetParam()));
    cr2.parse_header();
    const bool big = GetParam() == ByteOrder::kBig;
    EXPECT_EQ(cr2.is_big_endian(), big);
    EXPECT_EQ(cr2.ifh->byte_order, big ? 0x4D4D : 0x4949);
    EXPECT_EQ(cr2.ifh->version, 42U);
    EXPECT_EQ(cr2.ifh->cr_marker, 0x4352U) << "never swapped";
    EXPECT_EQ(cr2.ifh->major_version, 2U);
    EXPECT_EQ(cr2.ifh->minor_version, 0U);
    EXPECT_EQ(cr2.first_ifd_offset(), 0x10203040U);
    EXPECT_EQ(cr2.raw_ifd_offset(), 0x50607080U);
}

TEST_P(Cr2Header, MayHaveItsVersionInTheOtherByteOrder) {
    CR2& cr2 = open(header_bytes(GetParam(), 0x2A00));
    cr2.parse_header();
    EXPECT_EQ(cr2.ifh->version, 0x2A00U);
}

TEST_P(Cr2Header, NeedsVersion42) {
    for (const std::uint16_t version : Shorts{0, 41, 43, 0x29FF, 0x2A01, 0x2A2A}) {
        EXPECT_THROW(open(header_bytes(GetParam(), version)).parse_header(), IllegalException) << version;
    }
}

TEST_P(Cr2Header, NeedsAFirstDirectory) {
    expect_illegal_with(4, {0, 0, 0, 0});
}

TEST_P(Cr2Header, NeedsTheMarkerInReadingOrder) {
    expect_illegal_with(8, {'R', 'C'});
    expect_illegal_with(8, {'C', 'S'});
    expect_illegal_with(8, {'D', 'R'});
}

TEST_P(Cr2Header, NeedsVersionTwoPointZero) {
    expect_illegal_with(10, {1});
    expect_illegal_with(10, {3});
    expect_illegal_with(10, {0, 2});
    expect_illegal_with(11, {1});
}

TEST_P(Cr2Header, NeedsARawDirectory) {
    expect_illegal_with(12, {0, 0, 0, 0});
}

TEST_P(Cr2Header, PlainTiffIsIllegal) {
    Bytes bytes = header_bytes(GetParam());
    test::put_bytes(bytes, 8, {0x0F, 0, 0, 1, 3, 0, 1, 0});
    EXPECT_THROW(open(bytes).parse_header(), IllegalException);
}

TEST_P(Cr2Header, CutAtAnyLengthIsOutOfRange) {
    const Bytes bytes = header_bytes(GetParam());
    for (std::size_t length = 1; length < bytes.size(); ++length) {
        EXPECT_THROW(open(part(bytes, 0, length)).parse_header(), OutRangeException) << length;
    }
    EXPECT_NO_THROW(open(bytes).parse_header());
}

TEST_P(Cr2Header, IsReadInFullBeforeAnyFieldAfterTheByteOrderIsJudged) {
    for (std::size_t length = 4; length < 16; ++length) {
        EXPECT_THROW(open(part(header_bytes(GetParam(), 41), 0, length)).parse_header(), OutRangeException);
    }
}

TEST_P(Cr2Header, IsStoredUpToTheFieldThatFails) {
    Bytes bytes = header_bytes(GetParam());
    bytes[10] = 3;
    CR2& cr2 = open(bytes, GetParam() == ByteOrder::kBig ? ByteOrder::kLittle : ByteOrder::kBig);
    EXPECT_THROW(cr2.parse_header(), IllegalException);
    EXPECT_EQ(cr2.is_big_endian(), GetParam() == ByteOrder::kBig);
    EXPECT_EQ(cr2.ifh->version, 42U);
    EXPECT_EQ(cr2.ifh->first_ifd_offset, 0x10203040U);
    EXPECT_EQ(cr2.ifh->cr_marker, 0x4352U);
    EXPECT_EQ(cr2.ifh->major_version, 0U);
    EXPECT_EQ(cr2.ifh->raw_ifd_offset, 0U);
}

TEST_F(Cr2Model, ByteOrderIsJudgedBeforeTheRestIsRead) {
    for (const Bytes& mark : {Bytes{'I', 'M'}, Bytes{'M', 'I'}, Bytes{'I', 'J'}, Bytes{0, 0}}) {
        EXPECT_THROW(open(mark).parse_header(), IllegalException);
    }
    EXPECT_THROW(open({'I'}).parse_header(), OutRangeException);
}

TEST_F(Cr2Model, ParsedAgainItHasANewHeader) {
    CR2& cr2 = open(header_bytes(ByteOrder::kLittle));
    cr2.parse_header();
    const auto first = cr2.ifh;
    cr2.parse_header();
    EXPECT_NE(cr2.ifh, first);
}

// The search.

TEST_F(Cr2Model, FindsATagInTheOrderOfTheFileAtAnyByte) {
    const Bytes bytes{0x11, 0x11, 0x01, 0x11, 0x01, 0x00};
    EXPECT_EQ(open(bytes).find_tag(kStripOffsets, 0), 1U);
    EXPECT_EQ(open(bytes, ByteOrder::kBig).find_tag(kStripOffsets, 0), 2U);
}

TEST_F(Cr2Model, FindsATagFromTheStartOn) {
    const CR2& cr2 = open({0x11, 0x01, 0x11, 0x01, 0});
    EXPECT_EQ(cr2.find_tag(kStripOffsets, 0), 0U);
    EXPECT_EQ(cr2.find_tag(kStripOffsets, 1), 2U);
    EXPECT_EQ(cr2.find_tag(kStripOffsets, 2), 2U);
    EXPECT_THROW((void)cr2.find_tag(kStripOffsets, 3), NotFoundException);
}

TEST_F(Cr2Model, FindsATagOnTheLastTwoBytesAndNotHalfOfIt) {
    EXPECT_EQ(open({0, 0x11, 0x01}).find_tag(kStripOffsets, 0), 1U);
    EXPECT_THROW((void)open({0, 0, 0x11}).find_tag(kStripOffsets, 0), NotFoundException);
}

TEST_F(Cr2Model, FindsNothingFromTheEndOrAfterIt) {
    const CR2& cr2 = open({0x11, 0x01, 0x11, 0x01});
    EXPECT_EQ(cr2.find_tag(kStripOffsets, 2), 2U);
    for (const std::uint32_t start : {3U, 4U, 5U, 0xFFFFFFFFU}) {
        EXPECT_THROW((void)cr2.find_tag(kStripOffsets, start), NotFoundException) << start;
    }
}

TEST_F(Cr2Model, SearchLeavesTheCursor) {
    const CR2& cr2 = open({0, 0, 0x11, 0x01});
    cr2.mmap->seek(77);
    EXPECT_EQ(cr2.find_tag(kStripOffsets, 0), 2U);
    EXPECT_EQ(cr2.mmap->position(), 77U);
}

// Entries.

TEST_F(Cr2Model, KeepsAcceptedEntriesInTheOrderRead) {
    CR2& cr2 = open(joined(entry_bytes(5, 4, 1, 0), entry_bytes(6, 4, 1, 0)));
    cr2.read_entry_value(counts, 12);
    cr2.read_entry_value(entry, 0);
    EXPECT_THAT(cr2.ifd->entries, ElementsAre(counts, entry));
}

TEST_F(Cr2Model, RefusedEntryIsNeitherFilledNorKept) {
    CR2& cr2 = open(joined(entry_bytes(1, 13, 1, 3), Bytes(40)));
    EXPECT_THROW(cr2.read_entry_value(entry, 0), IllegalException);
    EXPECT_THROW(cr2.blank_entry_data(entry, 0), IllegalException);
    EXPECT_THROW(cr2.read_next_ifd_link(entry, 0), IllegalException);
    EXPECT_EQ(entry->tag, 0U);
    EXPECT_THAT(cr2.ifd->entries, IsEmpty());
}

TEST_F(Cr2Model, EntryIsReadInFullBeforeItIsJudged) {
    const Bytes bad = entry_bytes(0, 0, 0, 0);
    for (std::size_t length = 1; length < 12; ++length) {
        EXPECT_THROW(open(part(bad, 0, length)).read_entry_value(entry, 0), OutRangeException) << length;
    }
    EXPECT_THROW(open(bad).read_entry_value(entry, 0), IllegalException);
}

TEST_F(Cr2Model, HitWithinTheLastElevenBytesIsOutOfRange) {
    Bytes bytes(40);
    CR2& cr2 = open(bytes);
    for (std::uint32_t left = 1; left < 12; ++left) {
        EXPECT_THROW(cr2.read_entry_value(entry, 40 - left), OutRangeException) << left;
    }
    EXPECT_THROW(cr2.read_entry_value(entry, 28), IllegalException);
    EXPECT_THROW(cr2.read_entry_value(entry, 40), OutRangeException);
    EXPECT_THROW(cr2.read_entry_value(entry, 0xFFFFFFFF), OutRangeException);
}

// The link to the next directory.

TEST_F(Cr2Model, LinkIsTheFourBytesAfterTheEntry) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        Bytes link(4);
        test::put_u32(link, 0, 0x0A0B0C0D, order);
        CR2& cr2 = open(joined(entry_bytes(0x8825, 4, 1, 99, order), link), order);
        EXPECT_EQ(cr2.read_next_ifd_link(entry, 0), 0x0A0B0C0DU);
        EXPECT_EQ(entry->value, 99U);
        EXPECT_THAT(cr2.ifd->entries, ElementsAre(entry));
    }
}

TEST_F(Cr2Model, LinkOfAnEntryThatIsNotTheLastIsTheNextEntrysFirstBytes) {
    CR2& cr2 = open(joined(entry_bytes(0x8825, 4, 1, 99), entry_bytes(0x8830, 3, 1, 5)));
    EXPECT_EQ(cr2.read_next_ifd_link(entry, 0), 0x00038830U);
}

TEST_F(Cr2Model, LinkIsReadAfterTheEntryIsJudged) {
    for (std::size_t after = 0; after < 4; ++after) {
        EXPECT_THROW(open(joined(entry_bytes(0x8825, 0, 1, 99), Bytes(after))).read_next_ifd_link(entry, 0),
                     IllegalException);
        CR2& cr2 = open(joined(entry_bytes(0x8825, 4, 1, 99), Bytes(after)));
        EXPECT_THROW(cr2.read_next_ifd_link(entry, 0), OutRangeException);
        EXPECT_THAT(cr2.ifd->entries, ElementsAre(entry)) << "accepted before the link failed";
    }
}

// Blanking the start of a picture.

class Cr2Blanking : public Cr2Model {
  protected:
    /// A file of the size with FF everywhere but an entry at 0 with this value.
    static Bytes file_with(std::size_t size, std::uint32_t value) {
        Bytes bytes(size, 0xFF);
        test::put_bytes(bytes, 0, entry_bytes(0x0111, 4, 1, value));
        return bytes;
    }
};

TEST_F(Cr2Blanking, ZeroesThirtyBytes) {
    const Bytes bytes = file_with(100, 40);
    CR2& cr2 = open(bytes);
    cr2.blank_entry_data(entry, 0);
    EXPECT_EQ(content(), zeroed(bytes, 40, 70));
    EXPECT_THAT(cr2.ifd->entries, ElementsAre(entry));
}

TEST_F(Cr2Blanking, SucceedsAtSizeMinus31) {
    const Bytes bytes = file_with(100, 69);
    open(bytes).blank_entry_data(entry, 0);
    EXPECT_EQ(content(), zeroed(bytes, 69, 99));
}

TEST_F(Cr2Blanking, AtSizeMinus30PassesTheGuardAndFailsOnTheLastMove) {
    const Bytes bytes = file_with(100, 70);
    CR2& cr2 = open(bytes);
    EXPECT_THROW(cr2.blank_entry_data(entry, 0), OutRangeException);
    EXPECT_EQ(content(), zeroed(bytes, 70, 100));
    EXPECT_THAT(cr2.ifd->entries, ElementsAre(entry));
}

TEST_F(Cr2Blanking, FromSizeMinus29OnTheGuardIsBetweenFillingAndKeeping) {
    for (const std::uint32_t value : {71U, 99U, 100U, 101U, 0xFFFFFFFFU}) {
        const Bytes bytes = file_with(100, value);
        CR2& cr2 = open(bytes);
        *entry = {};
        EXPECT_THROW(cr2.blank_entry_data(entry, 0), VisitingBeyondException) << value;
        EXPECT_EQ(entry->value, value);
        EXPECT_THAT(cr2.ifd->entries, IsEmpty());
        EXPECT_EQ(content(), bytes);
    }
}

TEST_F(Cr2Blanking, BadEntryIsIllegalWhateverItsValue) {
    Bytes bytes = file_with(100, 0xFFFFFFFF);
    bytes[2] = 13;
    EXPECT_THROW(open(bytes).blank_entry_data(entry, 0), IllegalException);
}

TEST_F(Cr2Blanking, GuardHoldsFromThirtyBytesOn) {
    EXPECT_THROW(open(file_with(30, 0)).blank_entry_data(entry, 0), OutRangeException);
    EXPECT_THROW(open(file_with(30, 1)).blank_entry_data(entry, 0), VisitingBeyondException);
}

TEST_F(Cr2Blanking, GuardWrapsInAFileOfFewerThanThirtyBytes) {
    for (const std::uint32_t value : {1U, 20U, 29U, 0xFFFFFFFFU}) {
        const Bytes bytes = file_with(29, value);
        CR2& cr2 = open(bytes);
        EXPECT_THROW(cr2.blank_entry_data(entry, 0), OutRangeException) << value;
        EXPECT_THAT(cr2.ifd->entries, ElementsAre(entry));
        EXPECT_EQ(content(), value < 29 ? zeroed(bytes, value, 29) : bytes);
    }
}

// Blanking a strip.

class Cr2Strip : public Cr2Model {};

TEST_F(Cr2Strip, IsZeroedInFull) {
    const Bytes bytes = strip_file(50, 77);
    CR2& cr2 = open(bytes);
    cr2.blank_strip(entry, counts, kOffsets, kCounts);
    EXPECT_EQ(content(), zeroed(bytes, 50, 127));
    EXPECT_THAT(cr2.ifd->entries, ElementsAre(entry, counts));
    EXPECT_EQ(entry->value, 50U);
    EXPECT_EQ(counts->value, 77U);
}

TEST_F(Cr2Strip, LengthZeroWritesNothing) {
    const Bytes bytes = strip_file(50, 0);
    CR2& cr2 = open(bytes);
    EXPECT_NO_THROW(cr2.blank_strip(entry, counts, kOffsets, kCounts));
    EXPECT_EQ(content(), bytes);
}

TEST_F(Cr2Strip, MayEndOnTheLastByteButOne) {
    const Bytes bytes = strip_file(150, 49);
    open(bytes).blank_strip(entry, counts, kOffsets, kCounts);
    EXPECT_EQ(content(), zeroed(bytes, 150, 199));
}

TEST_F(Cr2Strip, ThatReachesTheLastByteOrGoesOnIsOutOfRangeAndZeroed) {
    for (const std::uint32_t length : {50U, 51U, 0xFFFFFFFFU}) {
        const Bytes bytes = strip_file(150, length);
        CR2& cr2 = open(bytes);
        EXPECT_THROW(cr2.blank_strip(entry, counts, kOffsets, kCounts), OutRangeException) << length;
        EXPECT_EQ(content(), zeroed(bytes, 150, 200));
    }
}

TEST_F(Cr2Strip, StartsNoNearerThanThirtyBytesToTheEnd) {
    Bytes bytes = strip_file(170, 5);
    open(bytes).blank_strip(entry, counts, kOffsets, kCounts);
    EXPECT_EQ(content(), zeroed(bytes, 170, 175));

    bytes = strip_file(171, 5);
    CR2& cr2 = open(bytes);
    EXPECT_THROW(cr2.blank_strip(entry, counts, kOffsets, kCounts), VisitingBeyondException);
    EXPECT_EQ(content(), bytes);
    EXPECT_THAT(cr2.ifd->entries, ElementsAre(entry)) << "the first was kept, the second not";
}

TEST_F(Cr2Strip, FirstEntryIsReadBeforeTheSecondOffsetIsGuarded) {
    EXPECT_THROW(open(strip_file(50, 5)).blank_strip(entry, counts, 189, 201), OutRangeException);
}

TEST_F(Cr2Strip, SecondOffsetPastTheEndIsReportedBeforeTheFirstEntryIsJudged) {
    Bytes bytes = strip_file(50, 5);
    bytes[kOffsets + kTypeLow] = 13;
    CR2& cr2 = open(bytes);
    EXPECT_THROW(cr2.blank_strip(entry, counts, kOffsets, 201), VisitingBeyondException);
    EXPECT_THROW(cr2.blank_strip(entry, counts, kOffsets, 0xFFFFFFFF), VisitingBeyondException);
    EXPECT_THROW(cr2.blank_strip(entry, counts, kOffsets, 200), IllegalException);
    EXPECT_THAT(cr2.ifd->entries, IsEmpty());
    EXPECT_EQ(entry->tag, 0U);
}

TEST_F(Cr2Strip, SecondOffsetAtTheEndPassesTheGuardAndCannotBeRead) {
    CR2& cr2 = open(strip_file(50, 5));
    EXPECT_THROW(cr2.blank_strip(entry, counts, kOffsets, 200), OutRangeException);
    EXPECT_THAT(cr2.ifd->entries, ElementsAre(entry));
}

TEST_F(Cr2Strip, SecondEntryIsReadBeforeTheFirstsValueIsGuarded) {
    EXPECT_THROW(open(strip_file(171, 5)).blank_strip(entry, counts, kOffsets, 189), OutRangeException);
}

TEST_F(Cr2Strip, FirstsValueIsGuardedBeforeTheSecondEntryIsJudged) {
    Bytes bytes = strip_file(171, 5);
    bytes[kCounts + kTypeLow] = 13;
    EXPECT_THROW(open(bytes).blank_strip(entry, counts, kOffsets, kCounts), VisitingBeyondException);

    bytes = strip_file(170, 5);
    bytes[kCounts + kTypeLow] = 13;
    CR2& cr2 = open(bytes);
    EXPECT_THROW(cr2.blank_strip(entry, counts, kOffsets, kCounts), IllegalException);
    EXPECT_THAT(cr2.ifd->entries, ElementsAre(entry));
    EXPECT_EQ(counts->tag, 0U);
    EXPECT_EQ(content(), bytes);
}

TEST_F(Cr2Strip, GuardOfTheValueWrapsInAFileOfFewerThanThirtyBytes) {
    const Bytes bytes = joined(entry_bytes(0x0111, 4, 1, 24), entry_bytes(0x0117, 4, 1, 2));
    open(joined(bytes, Bytes(5, 0xFF))).blank_strip(entry, counts, 0, 12);
    EXPECT_EQ(content(), joined(bytes, {0, 0, 0xFF, 0xFF, 0xFF}));
    // One byte more, and 24 is less than 30 bytes before the end.
    EXPECT_THROW(open(joined(bytes, Bytes(6, 0xFF))).blank_strip(entry, counts, 0, 12),
                 VisitingBeyondException);
}

// What marks the raw image's directory.

class Cr2RawStrip : public Cr2Model {
  protected:
    bool marks(const Bytes& next, ByteOrder order = ByteOrder::kLittle) {
        const bool found =
            open(joined(entry_bytes(0x0111, 4, 1, 5, order), next), order).is_raw_strip_entry(0);
        EXPECT_THAT(model->ifd->entries, IsEmpty()) << "nothing is kept";
        EXPECT_EQ(model->get_raw_offset(), 0U);
        return found;
    }
};

TEST_F(Cr2RawStrip, IsAStripByteCountsEntryOfTypeLongAfterTheHit) {
    EXPECT_TRUE(marks(entry_bytes(279, 4, 1, 1)));
    EXPECT_TRUE(marks(entry_bytes(279, 4, 1, 1, ByteOrder::kBig), ByteOrder::kBig));
    EXPECT_TRUE(marks(entry_bytes(279, 4, 0xFFFFFFFF, 0x80000000)));
    EXPECT_FALSE(marks(entry_bytes(279, 4, 1, 1, ByteOrder::kBig), ByteOrder::kLittle));
}

TEST_F(Cr2RawStrip, NeedsTheTag) {
    EXPECT_FALSE(marks(entry_bytes(278, 4, 1, 1)));
    EXPECT_FALSE(marks(entry_bytes(280, 4, 1, 1)));
}

TEST_F(Cr2RawStrip, NeedsTypeLong) {
    for (const std::uint16_t type : Shorts{0, 3, 5, 0x104}) {
        EXPECT_FALSE(marks(entry_bytes(279, type, 1, 1))) << type;
    }
}

TEST_F(Cr2RawStrip, NeedsACountAndAValue) {
    EXPECT_FALSE(marks(entry_bytes(279, 4, 0, 1)));
    EXPECT_FALSE(marks(entry_bytes(279, 4, 1, 0)));
}

TEST_F(Cr2RawStrip, DoesNotLookAtTheHitItself) {
    EXPECT_TRUE(open(joined(Bytes(12), entry_bytes(279, 4, 1, 1))).is_raw_strip_entry(0));
}

TEST_F(Cr2RawStrip, HitWithinTheLastTwentyThreeBytesIsOutOfRange) {
    CR2& cr2 = open(Bytes(100));
    EXPECT_FALSE(cr2.is_raw_strip_entry(76));
    for (std::uint32_t left = 1; left < 24; ++left) {
        EXPECT_THROW((void)cr2.is_raw_strip_entry(100 - left), OutRangeException) << left;
    }
}

TEST_F(Cr2RawStrip, NextEntrysOffsetDoesNotWrap) {
    // In 32 bits the next entry of the last offset would be at 11.
    CR2& cr2 = open(joined(Bytes(11), entry_bytes(279, 4, 1, 1)));
    EXPECT_THROW((void)cr2.is_raw_strip_entry(0xFFFFFFFF), OutRangeException);
}

} // namespace
} // namespace plate_mend
