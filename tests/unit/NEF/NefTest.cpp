#include "NEF/NEF.h"

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
using test::u32_bytes;
using test::zeroed;
using Shorts = std::vector<std::uint16_t>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr NEF::Pattern kNewSubfileType{0x00, 0xFE};

/// The 8 bytes of a header.
Bytes header_bytes(ByteOrder order, std::uint16_t version = 42, std::uint32_t first_ifd = 0x10203040) {
    const unsigned char mark = order == ByteOrder::kLittle ? 'I' : 'M';
    Bytes bytes{mark, mark, 0, 0, 0, 0, 0, 0};
    test::put_u16(bytes, 2, version, order);
    test::put_u32(bytes, 4, first_ifd, order);
    return bytes;
}

class NefModel : public EntryModelFixture<NEF, NEF_DE> {
  protected:
    NefModel() : EntryModelFixture("nef") {}
};

// The model itself.

TEST_F(NefModel, EmptyOrMissingFileIsNotValidAndNoOperationFaults) {
    test::write_file(folder / "empty.nef", {});
    for (const char* name : {"empty.nef", "missing.nef"}) {
        NEF nef(folder / name);
        EXPECT_FALSE(nef.is_valid());
        EXPECT_EQ(nef.size(), 0U);
        EXPECT_THROW((void)nef.find_tag(kNewSubfileType, 0), NotFoundException);
        EXPECT_THROW(nef.parse_header(), OutRangeException);
        EXPECT_THROW(nef.read_entry_is_zero(entry, 0), OutRangeException);
        EXPECT_THROW(nef.blank_entry_data(entry, 0), OutRangeException);
        EXPECT_THROW(nef.read_sub_ifd_offsets(entry, 0), OutRangeException);
        EXPECT_THROW(nef.read_entry_value(entry, 0), OutRangeException);
        EXPECT_THROW(nef.blank_strip(entry, counts, 0, 0), OutRangeException);
    }
}

// The header.

class NefHeader : public NefModel, public ::testing::WithParamInterface<ByteOrder> {};

INSTANTIATE_TEST_SUITE_P(ByteOrders, NefHeader, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         [](const auto& order) { return order.param == ByteOrder::kBig ? "MM" : "II"; });

TEST_P(NefHeader, IsReadInItsByteOrder) {
    NEF& nef = open(header_bytes(GetParam()));
    nef.parse_header();
    const bool big = GetParam() == ByteOrder::kBig;
    EXPECT_EQ(nef.is_big_endian(), big);
    EXPECT_EQ(nef.ifh->byte_order, big ? 0x4D4D : 0x4949);
    EXPECT_EQ(nef.ifh->version, 42U);
    EXPECT_EQ(nef.first_ifd_offset(), 0x10203040U);
}

TEST_P(NefHeader, MayHaveItsVersionInTheOtherByteOrder) {
    NEF& nef = open(header_bytes(GetParam(), 0x2A00));
    nef.parse_header();
    EXPECT_EQ(nef.ifh->version, 0x2A00U);
}

TEST_P(NefHeader, NeedsVersion42) {
    for (const std::uint16_t version : Shorts{0, 41, 43, 0x29FF, 0x2A01, 0x2A2A}) {
        NEF& nef = open(header_bytes(GetParam(), version));
        EXPECT_THROW(nef.parse_header(), IllegalException) << version;
        EXPECT_EQ(nef.ifh->version, 0U) << "nothing after the byte order is stored";
        EXPECT_EQ(nef.ifh->first_ifd_offset, 0U);
    }
}

TEST_P(NefHeader, NeedsAFirstDirectory) {
    NEF& nef = open(header_bytes(GetParam(), 42, 0));
    EXPECT_THROW(nef.parse_header(), IllegalException);
    EXPECT_EQ(nef.ifh->version, 0U);
    open(header_bytes(GetParam(), 42, 1)).parse_header();
    EXPECT_EQ(model->first_ifd_offset(), 1U);
}

TEST_P(NefHeader, CutAtAnyLengthIsOutOfRangeEvenWithABadVersion) {
    for (const std::uint16_t version : Shorts{42, 41}) {
        const Bytes bytes = header_bytes(GetParam(), version);
        for (std::size_t length = 1; length < bytes.size(); ++length) {
            EXPECT_THROW(open(part(bytes, 0, length)).parse_header(), OutRangeException) << length;
        }
    }
}

TEST_F(NefModel, ByteOrderIsJudgedBeforeTheRestIsRead) {
    for (const Bytes& mark : {Bytes{'I', 'M'}, Bytes{'M', 'I'}, Bytes{'I', 'J'}, Bytes{0, 0}}) {
        EXPECT_THROW(open(mark).parse_header(), IllegalException);
    }
    EXPECT_THROW(open({'M'}).parse_header(), OutRangeException);
}

TEST_F(NefModel, ParsedAgainItHasANewHeader) {
    NEF& nef = open(header_bytes(ByteOrder::kLittle));
    nef.parse_header();
    const auto first = nef.ifh;
    nef.parse_header();
    EXPECT_NE(nef.ifh, first);
}

// The search.

TEST_F(NefModel, FindsATagInTheOrderOfTheFileAtAnyByte) {
    const Bytes bytes{0xFE, 0xFE, 0x00, 0xFE, 0x00, 0x01};
    EXPECT_EQ(open(bytes).find_tag(kNewSubfileType, 0), 1U);
    EXPECT_EQ(open(bytes, ByteOrder::kBig).find_tag(kNewSubfileType, 0), 2U);
}

TEST_F(NefModel, FindsATagFromTheStartOnUpToTheLastTwoBytes) {
    const NEF& nef = open({0xFE, 0x00, 1, 0xFE, 0x00});
    EXPECT_EQ(nef.find_tag(kNewSubfileType, 0), 0U);
    EXPECT_EQ(nef.find_tag(kNewSubfileType, 1), 3U);
    EXPECT_EQ(nef.find_tag(kNewSubfileType, 3), 3U);
    for (const std::uint32_t start : {4U, 5U, 6U, 0xFFFFFFFFU}) {
        EXPECT_THROW((void)nef.find_tag(kNewSubfileType, start), NotFoundException) << start;
    }
    EXPECT_THROW((void)open({1, 0xFE}).find_tag(kNewSubfileType, 0), NotFoundException);
}

TEST_F(NefModel, SearchLeavesTheCursor) {
    const NEF& nef = open({1, 1, 0xFE, 0x00});
    nef.mmap->seek(77);
    EXPECT_EQ(nef.find_tag(kNewSubfileType, 0), 2U);
    EXPECT_EQ(nef.mmap->position(), 77U);
}

// Entries.

TEST_F(NefModel, RefusedEntryIsNeitherFilledNorKept) {
    NEF& nef = open(joined(entry_bytes(1, 13, 1, 3), Bytes(40)));
    EXPECT_THROW(nef.read_entry_value(entry, 0), IllegalException);
    EXPECT_THROW(nef.blank_entry_data(entry, 0), IllegalException);
    EXPECT_THROW(nef.read_sub_ifd_offsets(entry, 0), IllegalException);
    EXPECT_THROW(nef.read_entry_is_zero(entry, 0), IllegalException);
    EXPECT_EQ(entry->tag, 0U);
    EXPECT_THAT(nef.ifd->entries, IsEmpty());
}

TEST_F(NefModel, EntryIsReadInFullBeforeItIsJudged) {
    const Bytes bad = entry_bytes(0, 0, 0, 0);
    for (std::size_t length = 1; length < 12; ++length) {
        EXPECT_THROW(open(part(bad, 0, length)).read_entry_value(entry, 0), OutRangeException) << length;
    }
    EXPECT_THROW(open(bad).read_entry_value(entry, 0), IllegalException);
    EXPECT_THROW(open(bad).read_entry_value(entry, 12), OutRangeException);
    EXPECT_THROW(open(bad).read_entry_value(entry, 0xFFFFFFFF), OutRangeException);
}

// Whether an entry's value is zero.

TEST_F(NefModel, ReportsWhetherTheValueIsZeroAndKeepsNothing) {
    NEF& nef = open(joined(entry_bytes(254, 4, 1, 0), entry_bytes(254, 4, 1, 1)));
    EXPECT_TRUE(nef.read_entry_is_zero(entry, 0));
    EXPECT_EQ(entry->tag, 254U);
    EXPECT_FALSE(nef.read_entry_is_zero(entry, 12));
    EXPECT_EQ(entry->value, 1U);
    EXPECT_THROW(nef.read_entry_is_zero(entry, 13), OutRangeException);
    EXPECT_THAT(nef.ifd->entries, IsEmpty());
}

TEST_F(NefModel, AllFourBytesOfTheValueCount) {
    for (std::size_t byte = 8; byte < 12; ++byte) {
        Bytes bytes = entry_bytes(254, 3, 1, 0);
        bytes[byte] = 1;
        EXPECT_FALSE(open(bytes).read_entry_is_zero(entry, 0)) << byte;
    }
}

// Sub-directories.

TEST_F(NefModel, SubIfdsOfCountOneIsTheValueItself) {
    // Nothing is at the value, and nothing is read there.
    NEF& nef = open(entry_bytes(330, 4, 1, 0x7FFFFFFF));
    EXPECT_THAT(nef.read_sub_ifd_offsets(entry, 0), ElementsAre(0x7FFFFFFFU));
    EXPECT_THAT(nef.ifd->entries, ElementsAre(entry));
}

TEST_F(NefModel, SubIfdsOfCountTwoAndMoreIsAListInTheOrderOfTheFile) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        Bytes bytes = joined(entry_bytes(330, 4, 2, 15, order), Bytes(3));
        bytes = joined(bytes, u32_bytes({0x11223344, 0x55667788, 9}, order));
        EXPECT_THAT(open(bytes, order).read_sub_ifd_offsets(entry, 0), ElementsAre(0x11223344U, 0x55667788U));
        test::put_u32(bytes, 4, 3, order);
        EXPECT_THAT(open(bytes, order).read_sub_ifd_offsets(entry, 0),
                    ElementsAre(0x11223344U, 0x55667788U, 9U));
    }
}

TEST_F(NefModel, SubIfdsListMayEndOnTheLastByte) {
    const Bytes bytes = joined(entry_bytes(330, 4, 2, 12), u32_bytes({1, 2}, ByteOrder::kLittle));
    EXPECT_THAT(open(bytes).read_sub_ifd_offsets(entry, 0), ElementsAre(1U, 2U));
    for (std::size_t cut = 1; cut <= 8; ++cut) {
        EXPECT_THROW(open(part(bytes, 0, bytes.size() - cut)).read_sub_ifd_offsets(entry, 0),
                     OutRangeException)
            << cut;
    }
}

TEST_F(NefModel, SubIfdsListAtZeroWrapsBeforeTheFile) {
    NEF& nef = open(joined(entry_bytes(330, 4, 2, 0), Bytes(100)));
    EXPECT_THROW(nef.read_sub_ifd_offsets(entry, 0), OutRangeException);
    EXPECT_EQ(nef.mmap->position(), 0xFFFFFFFFU) << "in 32 bits";
    // From 1 on it is read out of the entry itself: 4A 01 04 00 02 00 00 00 01.
    EXPECT_THAT(open(joined(entry_bytes(330, 4, 2, 1), Bytes(100))).read_sub_ifd_offsets(entry, 0),
                ElementsAre(0x02000401U, 0x01000000U));
}

TEST_F(NefModel, SubIfdsCountIsNotMultipliedIn32Bits) {
    // Four times the count is 4 in 32 bits.
    EXPECT_THROW(open(joined(entry_bytes(330, 4, 0x40000001, 12), Bytes(4))).read_sub_ifd_offsets(entry, 0),
                 OutRangeException);
    EXPECT_THROW(open(joined(entry_bytes(330, 4, 0xFFFFFFFF, 12), Bytes(400))).read_sub_ifd_offsets(entry, 0),
                 OutRangeException);
}

TEST_F(NefModel, SubIfdsListPastTheEndIsOutOfRange) {
    for (const std::uint32_t value : {20U, 21U, 0xFFFFFFFFU}) {
        NEF& nef = open(joined(entry_bytes(330, 4, 2, value), Bytes(8)));
        EXPECT_THROW(nef.read_sub_ifd_offsets(entry, 0), OutRangeException) << value;
    }
}

// Blanking the start of a picture.

class NefBlanking : public NefModel {
  protected:
    /// A file of the size with FF everywhere but an entry at 0 with this value.
    static Bytes file_with(std::size_t size, std::uint32_t value) {
        Bytes bytes(size, 0xFF);
        test::put_bytes(bytes, 0, entry_bytes(0x0201, 4, 1, value));
        return bytes;
    }
};

TEST_F(NefBlanking, ZeroesThirtyBytes) {
    for (const std::uint32_t value : {40U, 69U}) {
        const Bytes bytes = file_with(100, value);
        NEF& nef = open(bytes);
        nef.blank_entry_data(entry, 0);
        EXPECT_EQ(content(), zeroed(bytes, value, value + 30));
        EXPECT_THAT(nef.ifd->entries, ElementsAre(entry));
    }
}

TEST_F(NefBlanking, PastTheEndIsOutOfRangeWithWhatIsInsideZeroed) {
    for (const std::uint32_t value : {70U, 71U, 99U}) {
        const Bytes bytes = file_with(100, value);
        NEF& nef = open(bytes);
        EXPECT_THROW(nef.blank_entry_data(entry, 0), OutRangeException) << value;
        EXPECT_EQ(content(), zeroed(bytes, value, 100));
        EXPECT_THAT(nef.ifd->entries, ElementsAre(entry)) << "there is no guard before";
    }
}

TEST_F(NefBlanking, FromTheEndOnIsOutOfRangeToo) {
    for (const std::uint32_t value : {100U, 101U, 0xFFFFFFFFU}) {
        const Bytes bytes = file_with(100, value);
        NEF& nef = open(bytes);
        EXPECT_THROW(nef.blank_entry_data(entry, 0), OutRangeException) << value;
        EXPECT_EQ(content(), bytes);
        EXPECT_THAT(nef.ifd->entries, ElementsAre(entry));
    }
}

// Blanking a strip.

class NefStrip : public NefModel {};

TEST_F(NefStrip, IsZeroedInFull) {
    const Bytes bytes = strip_file(50, 77);
    NEF& nef = open(bytes);
    nef.blank_strip(entry, counts, kOffsets, kCounts);
    EXPECT_EQ(content(), zeroed(bytes, 50, 127));
    EXPECT_THAT(nef.ifd->entries, ElementsAre(entry, counts));
}

TEST_F(NefStrip, LengthZeroWritesNothingWhereverItIs) {
    for (const std::uint32_t offset : {50U, 200U, 0xFFFFFFFFU}) {
        const Bytes bytes = strip_file(offset, 0);
        NEF& nef = open(bytes);
        EXPECT_NO_THROW(nef.blank_strip(entry, counts, kOffsets, kCounts)) << offset;
        EXPECT_EQ(content(), bytes);
        EXPECT_THAT(nef.ifd->entries, ElementsAre(entry, counts));
    }
}

TEST_F(NefStrip, MayStartNearTheEndAndEndOnTheLastByteButOne) {
    const Bytes bytes = strip_file(190, 9);
    open(bytes).blank_strip(entry, counts, kOffsets, kCounts);
    EXPECT_EQ(content(), zeroed(bytes, 190, 199));
}

TEST_F(NefStrip, ThatReachesTheLastByteOrGoesOnIsOutOfRangeAndZeroed) {
    for (const std::uint32_t length : {10U, 11U, 0xFFFFFFFFU}) {
        const Bytes bytes = strip_file(190, length);
        NEF& nef = open(bytes);
        EXPECT_THROW(nef.blank_strip(entry, counts, kOffsets, kCounts), OutRangeException) << length;
        EXPECT_EQ(content(), zeroed(bytes, 190, 200));
    }
}

TEST_F(NefStrip, PastTheEndIsOutOfRange) {
    for (const std::uint32_t offset : {200U, 201U, 0xFFFFFFFFU}) {
        const Bytes bytes = strip_file(offset, 1);
        NEF& nef = open(bytes);
        EXPECT_THROW(nef.blank_strip(entry, counts, kOffsets, kCounts), OutRangeException) << offset;
        EXPECT_EQ(content(), bytes);
    }
}

TEST_F(NefStrip, FirstEntryIsJudgedAndKeptBeforeTheSecondIsRead) {
    Bytes bytes = strip_file(50, 5);
    NEF& nef = open(bytes);
    for (const std::uint32_t second : {189U, 200U, 201U, 0xFFFFFFFFU}) {
        EXPECT_THROW(nef.blank_strip(entry, counts, kOffsets, second), OutRangeException) << second;
    }
    EXPECT_THAT(nef.ifd->entries, ElementsAre(entry, entry, entry, entry));

    bytes[kOffsets + kTypeLow] = 13;
    NEF& bad = open(bytes);
    EXPECT_THROW(bad.blank_strip(entry, counts, kOffsets, 201), IllegalException);
    EXPECT_THAT(bad.ifd->entries, IsEmpty());
}

TEST_F(NefStrip, SecondEntryIsJudgedBeforeAnythingIsWritten) {
    Bytes bytes = strip_file(0xFFFFFFFF, 5);
    bytes[kCounts + kTypeLow] = 13;
    NEF& nef = open(bytes);
    EXPECT_THROW(nef.blank_strip(entry, counts, kOffsets, kCounts), IllegalException);
    EXPECT_THAT(nef.ifd->entries, ElementsAre(entry));
    EXPECT_EQ(counts->tag, 0U);
    EXPECT_EQ(content(), bytes);
}

} // namespace
} // namespace plate_mend
