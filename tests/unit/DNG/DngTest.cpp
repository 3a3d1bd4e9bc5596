#include "DNG/DNG.h"

#include "api/Exceptions.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

namespace plate_mend {
namespace {

using test::ByteOrder;
using test::Bytes;
using test::with;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DNG::Pattern kStripOffsets{0x01, 0x11};

/// Files of a few bytes, each opened as a model, with the byte order set from outside.
class Dng : public ::testing::Test {
  protected:
    DNG open(const Bytes& bytes, ByteOrder order = ByteOrder::kLittle) {
        path = folder / ("file" + std::to_string(++files) + ".dng");
        test::write_file(path, bytes);
        DNG dng(path);
        dng.set_big_endian(order == ByteOrder::kBig);
        return dng;
    }

    test::TempDir folder;
    std::filesystem::path path;
    int files = 0;
};

class DngInBothOrders : public Dng, public ::testing::WithParamInterface<ByteOrder> {
  protected:
    DNG open(const Bytes& bytes) { return Dng::open(bytes, order); }

    /// The bytes with an entry put at the offset.
    [[nodiscard]] Bytes with_entry(Bytes bytes, std::size_t offset, std::uint16_t tag, std::uint16_t type,
                                   std::uint32_t count, std::uint32_t value) const {
        test::put_u16(bytes, offset, tag, order);
        test::put_u16(bytes, offset + 2, type, order);
        test::put_u32(bytes, offset + 4, count, order);
        test::put_u32(bytes, offset + 8, value, order);
        return bytes;
    }

    [[nodiscard]] Bytes with_numbers(Bytes bytes, std::size_t offset,
                                     const std::vector<std::uint32_t>& numbers) const {
        for (const std::uint32_t number : numbers) {
            test::put_u32(bytes, offset, number, order);
            offset += 4;
        }
        return bytes;
    }

    ByteOrder order = GetParam();
};

INSTANTIATE_TEST_SUITE_P(ByteOrders, DngInBothOrders, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         [](const auto& order) { return order.param == ByteOrder::kBig ? "MM" : "II"; });

/// Bytes of FF, without a tag or a field type.
Bytes blank(std::size_t size = 64) {
    return Bytes(size, 0xFF);
}

std::vector<std::uint32_t> values_of(const std::vector<ValueSlot>& slots) {
    std::vector<std::uint32_t> values;
    values.reserve(slots.size());
    for (const ValueSlot& slot : slots) {
        values.push_back(slot.value);
    }
    return values;
}

std::vector<std::uint64_t> positions_of(const std::vector<ValueSlot>& slots) {
    std::vector<std::uint64_t> positions;
    positions.reserve(slots.size());
    for (const ValueSlot& slot : slots) {
        positions.push_back(slot.position);
    }
    return positions;
}

// The pieces of the model.

TEST(DngPieces, BeginEmpty) {
    const IFH ifh;
    EXPECT_EQ(ifh.byte_order(), 0);
    EXPECT_EQ(ifh.version(), 0);
    EXPECT_EQ(ifh.first_ifd_offset(), 0U);
    const DE de;
    EXPECT_EQ(de.tag(), 0);
    EXPECT_EQ(de.type(), 0);
    EXPECT_EQ(de.count(), 0U);
    EXPECT_EQ(de.value(), 0U);
    const IFD ifd;
    EXPECT_EQ(ifd.entry_count(), 0);
    EXPECT_THAT(ifd.entries(), IsEmpty());
    EXPECT_EQ(ifd.next_ifd_offset(), 0U);
}

TEST(DngPieces, HeaderKeepsItsFields) {
    IFH ifh;
    ifh.set_byte_order(0x4D4D);
    ifh.set_version(42);
    ifh.set_first_ifd_offset(0x89ABCDEF);
    EXPECT_EQ(ifh.byte_order(), 0x4D4D);
    EXPECT_EQ(ifh.version(), 42);
    EXPECT_EQ(ifh.first_ifd_offset(), 0x89ABCDEFU);
}

TEST(DngPieces, DirectoryKeepsItsFieldsAndReturnsACopyOfItsEntries) {
    IFD ifd;
    ifd.set_entry_count(7);
    ifd.set_next_ifd_offset(0x1234);
    const auto first = std::make_shared<DE>();
    const auto second = std::make_shared<DE>();
    ifd.set_entries({first});
    ifd.append_entry(second);
    EXPECT_EQ(ifd.entry_count(), 7);
    EXPECT_EQ(ifd.next_ifd_offset(), 0x1234U);
    EXPECT_THAT(ifd.entries(), ElementsAre(first, second));
    ifd.entries().clear();
    EXPECT_EQ(ifd.entries().size(), 2U);
}

// The constructor.

TEST_F(Dng, MissingAndEmptyFilesAreNotValid) {
    EXPECT_FALSE(DNG(folder / "missing.dng").valid());
    const DNG empty = open({});
    EXPECT_FALSE(empty.valid());
    EXPECT_EQ(empty.file_size(), 0U);
}

TEST_F(Dng, NewModelIsLittleEndianWithoutHeaderAndWithoutEntries) {
    test::write_file(folder / "new.dng", blank(5));
    const DNG dng(folder / "new.dng");
    EXPECT_TRUE(dng.valid());
    EXPECT_EQ(dng.file_size(), 5U);
    EXPECT_FALSE(dng.big_endian());
    EXPECT_EQ(dng.ifh(), nullptr);
    ASSERT_NE(dng.ifd(), nullptr);
    EXPECT_THAT(dng.ifd()->entries(), IsEmpty());
    EXPECT_THAT(dng.tile_offsets(), IsEmpty());
    EXPECT_THAT(dng.tile_byte_counts(), IsEmpty());
}

// The header.

TEST_F(Dng, ReadsALittleEndianHeader) {
    DNG dng = open({'I', 'I', 0x2A, 0x00, 0x08, 0x01, 0x00, 0x00}, ByteOrder::kBig);
    dng.parse_header();
    EXPECT_EQ(dng.ifh()->byte_order(), 0x4949);
    EXPECT_EQ(dng.ifh()->version(), 42);
    EXPECT_EQ(dng.first_ifd_offset(), 0x108U);
    EXPECT_FALSE(dng.big_endian());
}

TEST_F(Dng, ReadsABigEndianHeader) {
    DNG dng = open({'M', 'M', 0x00, 0x2A, 0x00, 0x00, 0x01, 0x08});
    dng.parse_header();
    EXPECT_EQ(dng.ifh()->byte_order(), 0x4D4D);
    EXPECT_EQ(dng.ifh()->version(), 42);
    EXPECT_EQ(dng.first_ifd_offset(), 0x108U);
    EXPECT_TRUE(dng.big_endian());
}

TEST_F(Dng, VersionBytesMayBeInTheOtherOrder) {
    DNG little = open({'I', 'I', 0x00, 0x2A, 8, 0, 0, 0});
    little.parse_header();
    EXPECT_EQ(little.ifh()->version(), 0x2A00);
    DNG big = open({'M', 'M', 0x2A, 0x00, 0, 0, 0, 8});
    big.parse_header();
    EXPECT_EQ(big.ifh()->version(), 0x2A00);
}

TEST_F(Dng, RefusesHeadersThatAreNone) {
    for (const Bytes& header : {Bytes{'I', 'M', 0x2A, 0, 8, 0, 0, 0}, Bytes{'M', 'I', 0x2A, 0, 8, 0, 0, 0},
                                Bytes{'I', 'I', 0x29, 0, 8, 0, 0, 0}, Bytes{'I', 'I', 0x2B, 0, 8, 0, 0, 0},
                                Bytes{'I', 'I', 0x00, 0x29, 8, 0, 0, 0}, Bytes{'M', 'M', 0, 0x2B, 0, 0, 0, 8},
                                Bytes{'I', 'I', 0x2A, 0, 0, 0, 0, 0}, Bytes{'M', 'M', 0, 0x2A, 0, 0, 0, 0}}) {
        EXPECT_THROW(open(header).parse_header(), IllegalException);
    }
}

TEST_F(Dng, ByteOrderIsJudgedAndKeptBeforeTheRestIsRead) {
    EXPECT_THROW(open({'?'}).parse_header(), OutRangeException);
    EXPECT_THROW(open({'?', '?'}).parse_header(), IllegalException);
    const Bytes header{'M', 'M', 0, 0, 0, 0, 0, 0};
    for (std::size_t size = 2; size < 8; ++size) {
        DNG dng = open(test::part(header, 0, size));
        EXPECT_THROW(dng.parse_header(), OutRangeException) << size;
        EXPECT_TRUE(dng.big_endian()) << size;
        EXPECT_EQ(dng.ifh()->byte_order(), 0x4D4D) << size;
    }
    EXPECT_THROW(open(header).parse_header(), IllegalException);
}

TEST_F(Dng, SecondHeaderReplacesTheFirst) {
    DNG dng = open({'I', 'I', 0x2A, 0, 8, 0, 0, 0});
    dng.parse_header();
    const auto first = dng.ifh();
    dng.mmap()->base[2] = 0;
    EXPECT_THROW(dng.parse_header(), IllegalException);
    EXPECT_NE(dng.ifh(), first);
    EXPECT_EQ(dng.first_ifd_offset(), 0U);
}

TEST_F(Dng, EmptyFileFailsInEveryOperation) {
    DNG dng = open({});
    const auto de = std::make_shared<DE>();
    EXPECT_THROW(dng.parse_header(), OutRangeException);
    EXPECT_THROW((void)dng.find_tag(kStripOffsets, 0), NotFoundException);
    EXPECT_THROW(dng.read_entry_is_zero(de, 0), OutRangeException);
    EXPECT_THROW(dng.blank_entry_data(de, 0), OutRangeException);
    EXPECT_THROW((void)dng.read_sub_ifd_offsets(de, 0), OutRangeException);
    EXPECT_THROW(dng.read_tile_offsets(0), NotFoundException);
    EXPECT_THROW(dng.read_tile_byte_counts(0), NotFoundException);
}

// The search.

TEST_F(Dng, FindsATagInTheFilesByteOrderAtAnyAlignment) {
    for (const std::size_t offset : {0U, 12U, 13U, 61U}) {
        EXPECT_EQ(open(with(blank(), offset, {0x11, 0x01})).find_tag(kStripOffsets, 0), offset);
        EXPECT_EQ(open(with(blank(), offset, {0x01, 0x11}), ByteOrder::kBig).find_tag(kStripOffsets, 0),
                  offset);
    }
    EXPECT_THROW((void)open(with(blank(), 12, {0x01, 0x11})).find_tag(kStripOffsets, 0), NotFoundException);
    EXPECT_THROW((void)open(with(blank(), 12, {0x11, 0x01}), ByteOrder::kBig).find_tag(kStripOffsets, 0),
                 NotFoundException);
}

TEST_F(Dng, FirstMatchFromTheStartOnIsTheHit) {
    const DNG dng = open(with(with(blank(), 10, {0x11, 0x01}), 30, {0x11, 0x01}));
    EXPECT_EQ(dng.find_tag(kStripOffsets, 0), 10U);
    EXPECT_EQ(dng.find_tag(kStripOffsets, 10), 10U);
    EXPECT_EQ(dng.find_tag(kStripOffsets, 11), 30U);
    EXPECT_EQ(dng.find_tag(kStripOffsets, 30), 30U);
    EXPECT_THROW((void)dng.find_tag(kStripOffsets, 31), NotFoundException);
}

TEST_F(Dng, SearchLeavesTheCursor) {
    const DNG dng = open(with(blank(), 10, {0x11, 0x01}));
    dng.mmap()->seek(41);
    EXPECT_EQ(dng.find_tag(kStripOffsets, 0), 10U);
    EXPECT_EQ(dng.mmap()->position(), 41U);
}

TEST_F(Dng, SearchFromTheFilesSizeOnFindsNothing) {
    const DNG dng = open(with(blank(64), 62, {0x11, 0x01}));
    EXPECT_EQ(dng.find_tag(kStripOffsets, 62), 62U) << "two bytes are enough";
    for (const std::uint32_t start : {63U, 64U, 65U, 0xFFFFFFFFU}) {
        EXPECT_THROW((void)dng.find_tag(kStripOffsets, start), NotFoundException) << start;
    }
}

TEST_F(Dng, HitOnTheLastTwoBytesIsFoundAndThenCut) {
    DNG dng = open(with(blank(64), 62, {0x11, 0x01}));
    const std::uint32_t hit = dng.find_tag(kStripOffsets, 0);
    EXPECT_EQ(hit, 62U);
    EXPECT_THROW(dng.read_entry_is_zero(std::make_shared<DE>(), hit), OutRangeException);
}

TEST_F(Dng, FalseHitInAnUnrelatedValueIsReadAsAnEntry) {
    // A value with the bytes 11 01 inside, before the true entry at 32.
    Bytes file = with(blank(), 7, {0x11, 0x01});
    file = with(file, 32, {0x11, 0x01, 0x04, 0x00, 0x01, 0x00, 0x00, 0x00});
    DNG dng = open(file);
    const std::uint32_t hit = dng.find_tag(kStripOffsets, 0);
    EXPECT_EQ(hit, 7U);
    EXPECT_THROW(dng.blank_entry_data(std::make_shared<DE>(), hit), IllegalException);
}

// Entries.

TEST_P(DngInBothOrders, ReadsAnEntryAndKeepsIt) {
    DNG dng = open(with_entry(blank(), 9, 0x1234, 12, 0x01020304, 0x0A0B0C0D));
    const auto de = std::make_shared<DE>();
    EXPECT_FALSE(dng.read_entry_is_zero(de, 9));
    EXPECT_EQ(de->tag(), 0x1234);
    EXPECT_EQ(de->type(), 12);
    EXPECT_EQ(de->count(), 0x01020304U);
    EXPECT_EQ(de->value(), 0x0A0B0C0DU);
    EXPECT_EQ(dng.mmap()->position(), 9U + 11U) << "on the value's last byte";
    EXPECT_THAT(dng.ifd()->entries(), ElementsAre(de));
}

TEST_P(DngInBothOrders, RecognisesAValueOfZero) {
    EXPECT_TRUE(open(with_entry(blank(), 0, 254, 4, 1, 0)).read_entry_is_zero(std::make_shared<DE>(), 0));
    for (const std::uint32_t value : {1U, 0x100U, 0x10000U, 0x80000000U}) {
        EXPECT_FALSE(
            open(with_entry(blank(), 0, 254, 4, 1, value)).read_entry_is_zero(std::make_shared<DE>(), 0));
    }
}

TEST_P(DngInBothOrders, TypeMustBeOneToTwelve) {
    for (std::uint16_t type = 1; type <= 12; ++type) {
        EXPECT_NO_THROW(
            open(with_entry(blank(), 0, 254, type, 1, 0)).read_entry_is_zero(std::make_shared<DE>(), 0));
    }
    for (const int type : {0, 13, 99, 0x0100, 0x0C00, 0xFFFF}) {
        EXPECT_THROW(open(with_entry(blank(), 0, 254, static_cast<std::uint16_t>(type), 1, 0))
                         .read_entry_is_zero(std::make_shared<DE>(), 0),
                     IllegalException)
            << type;
    }
}

TEST_P(DngInBothOrders, TagAndCountMustNotBeZero) {
    for (const auto& [tag, count, good] : {std::tuple{0, 1U, false},
                                           {1, 1U, true},
                                           {254, 0U, false},
                                           {254, 0x01000000U, true},
                                           {0x0100, 1U, true}}) {
        DNG dng = open(with_entry(blank(), 0, static_cast<std::uint16_t>(tag), 4, count, 0));
        const auto de = std::make_shared<DE>();
        if (good) {
            EXPECT_TRUE(dng.read_entry_is_zero(de, 0));
        } else {
            EXPECT_THROW(dng.read_entry_is_zero(de, 0), IllegalException);
        }
    }
}

TEST_P(DngInBothOrders, IllegalEntryIsNeitherPutIntoItsObjectNorKept) {
    DNG dng = open(with_entry(blank(), 0, 254, 13, 5, 6));
    const auto de = std::make_shared<DE>();
    EXPECT_THROW(dng.read_entry_is_zero(de, 0), IllegalException);
    EXPECT_EQ(de->tag(), 0);
    EXPECT_EQ(de->value(), 0U);
    EXPECT_THAT(dng.ifd()->entries(), IsEmpty());
}

TEST_P(DngInBothOrders, CutEntryIsOutOfRangeBeforeAnyFieldIsJudged) {
    // The entry is illegal; only with all its 12 bytes is that noticed.
    for (std::size_t left = 2; left <= 12; ++left) {
        Bytes file = with_entry(blank(), 20, 254, 99, 1, 0);
        file.resize(20 + left);
        DNG dng = open(file);
        if (left < 12) {
            EXPECT_THROW(dng.read_entry_is_zero(std::make_shared<DE>(), 20), OutRangeException) << left;
        } else {
            EXPECT_THROW(dng.read_entry_is_zero(std::make_shared<DE>(), 20), IllegalException);
        }
    }
}

TEST_P(DngInBothOrders, EntryPastTheEndIsOutOfRange) {
    DNG dng = open(blank(64));
    for (const std::uint32_t offset : {63U, 64U, 65U, 0xFFFFFFFFU}) {
        EXPECT_THROW(dng.read_entry_is_zero(std::make_shared<DE>(), offset), OutRangeException) << offset;
    }
}

TEST_F(Dng, ShortOfABigEndianFileIsInTheUpperHalf) {
    const Bytes entry{0x01, 0x11, 0, 3, 0, 0, 0, 1, 0x12, 0x34, 0, 0};
    const auto de = std::make_shared<DE>();
    EXPECT_FALSE(open(entry, ByteOrder::kBig).read_entry_is_zero(de, 0));
    EXPECT_EQ(de->value(), 0x12340000U);
    const Bytes little{0x11, 0x01, 3, 0, 1, 0, 0, 0, 0x34, 0x12, 0, 0};
    EXPECT_FALSE(open(little).read_entry_is_zero(de, 0));
    EXPECT_EQ(de->value(), 0x1234U);
}

TEST_P(DngInBothOrders, EveryReadingOperationKeepsItsEntryInTheOrderRead) {
    Bytes file = with_entry(blank(256), 0, 254, 4, 1, 0);
    file = with_entry(file, 12, 273, 4, 1, 200);
    file = with_entry(file, 24, 330, 4, 1, 8);
    file = with_entry(file, 36, 324, 4, 1, 100);
    file = with_entry(file, 48, 325, 4, 1, 104);
    DNG dng = open(file);
    dng.read_entry_is_zero(std::make_shared<DE>(), 0);
    dng.blank_entry_data(std::make_shared<DE>(), 12);
    (void)dng.read_sub_ifd_offsets(std::make_shared<DE>(), 24);
    dng.read_tile_offsets(0);
    dng.read_tile_byte_counts(0);
    std::vector<std::uint16_t> tags;
    for (const auto& entry : dng.ifd()->entries()) {
        tags.push_back(entry->tag());
    }
    EXPECT_THAT(tags, ElementsAre(254, 273, 330, 324, 325));
    EXPECT_EQ(dng.ifd()->entry_count(), 0) << "not filled";
    EXPECT_EQ(dng.ifd()->next_ifd_offset(), 0U) << "not filled";
}

// Blanking.

TEST_P(DngInBothOrders, BlanksThirtyBytesInTheFile) {
    const Bytes file = with_entry(blank(128), 0, 273, 4, 1, 50);
    {
        DNG dng = open(file);
        dng.blank_entry_data(std::make_shared<DE>(), 0);
        EXPECT_EQ(dng.mmap()->position(), 80U);
    }
    EXPECT_EQ(test::read_file(path), test::zeroed(file, 50, 80));
}

TEST_P(DngInBothOrders, BlanksTheStartOfTheListWhenThereAreMoreStrips) {
    const Bytes file = with_entry(blank(128), 0, 273, 4, 9, 50);
    open(file).blank_entry_data(std::make_shared<DE>(), 0);
    EXPECT_EQ(test::read_file(path), test::zeroed(file, 50, 80));
}

TEST_P(DngInBothOrders, ThirtiethByteMustNotBeTheFilesLast) {
    for (const auto& [value, zeros, good] : {std::tuple{96U, 30U, true},
                                             {97U, 30U, true},
                                             {98U, 30U, false},
                                             {99U, 29U, false},
                                             {127U, 1U, false},
                                             {128U, 0U, false},
                                             {129U, 0U, false},
                                             {0xFFFFFFFFU, 0U, false}}) {
        const Bytes file = with_entry(blank(128), 0, 273, 4, 1, value);
        DNG dng = open(file);
        if (good) {
            EXPECT_NO_THROW(dng.blank_entry_data(std::make_shared<DE>(), 0)) << value;
        } else {
            EXPECT_THROW(dng.blank_entry_data(std::make_shared<DE>(), 0), OutRangeException) << value;
        }
        const Bytes expected = zeros == 0 ? file : test::zeroed(file, value, value + zeros);
        dng.mmap()->close(); // So that the file can be read on Windows.
        EXPECT_EQ(test::read_file(path), expected) << value << ": what was blanked before the throw stays";
    }
}

// Sub-directories.

TEST_P(DngInBothOrders, OneSubDirectoryIsInTheEntryItself) {
    DNG dng = open(with_entry(blank(12), 0, 330, 4, 1, 0xFFFFFFF0));
    EXPECT_THAT(dng.read_sub_ifd_offsets(std::make_shared<DE>(), 0), ElementsAre(0xFFFFFFF0U));
}

TEST_P(DngInBothOrders, TwoSubDirectoriesAreInAList) {
    Bytes file = with_entry(blank(), 0, 330, 4, 2, 41);
    file = with_numbers(file, 41, {0x01020304, 7});
    DNG dng = open(file);
    EXPECT_THAT(dng.read_sub_ifd_offsets(std::make_shared<DE>(), 0), ElementsAre(0x01020304U, 7U));
    EXPECT_EQ(dng.mmap()->position(), 41U + 7U);
}

TEST_P(DngInBothOrders, SubDirectoryListMayEndTheFile) {
    Bytes file = with_entry(blank(48), 0, 330, 4, 2, 40);
    file = with_numbers(file, 40, {5, 6});
    EXPECT_THAT(open(file).read_sub_ifd_offsets(std::make_shared<DE>(), 0), ElementsAre(5U, 6U));
    file.pop_back();
    EXPECT_THROW((void)open(file).read_sub_ifd_offsets(std::make_shared<DE>(), 0), OutRangeException);
}

TEST_P(DngInBothOrders, SubDirectoryListOutsideTheFileIsOutOfRange) {
    for (const std::uint32_t value : {63U, 64U, 65U, 0xFFFFFFFFU}) {
        EXPECT_THROW((void)open(with_entry(blank(64), 0, 330, 4, 2, value))
                         .read_sub_ifd_offsets(std::make_shared<DE>(), 0),
                     OutRangeException)
            << value;
    }
}

TEST_P(DngInBothOrders, SubDirectoryListAtOffsetZeroBeginsAfterAWrappedOffset) {
    DNG wrapped = open(with_entry(blank(64), 20, 330, 4, 2, 0));
    ::testing::internal::CaptureStderr();
    EXPECT_THROW((void)wrapped.read_sub_ifd_offsets(std::make_shared<DE>(), 20), OutRangeException);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << "it wraps in 32 bits, not in 64";
    DNG at_one = open(with_entry(blank(64), 20, 330, 4, 2, 1));
    EXPECT_NO_THROW((void)at_one.read_sub_ifd_offsets(std::make_shared<DE>(), 20));
}

TEST_P(DngInBothOrders, AbsurdCountOfSubDirectoriesIsOutOfRange) {
    // Four times this count would wrap to 4.
    for (const std::uint32_t count : {0x40000001U, 0xFFFFFFFFU}) {
        EXPECT_THROW((void)open(with_entry(blank(64), 0, 330, 4, count, 40))
                         .read_sub_ifd_offsets(std::make_shared<DE>(), 0),
                     OutRangeException);
    }
}

// Tile lists.

TEST_P(DngInBothOrders, ReadsTileListsWithTheirPositions) {
    Bytes file = with_entry(blank(128), 12, 324, 4, 3, 51);
    file = with_entry(file, 24, 325, 4, 2, 81);
    file = with_numbers(file, 51, {1000, 0x01020304, 3000});
    file = with_numbers(file, 81, {500, 600});
    DNG dng = open(file);
    dng.read_tile_offsets(0);
    EXPECT_THAT(values_of(dng.tile_offsets()), ElementsAre(1000U, 0x01020304U, 3000U));
    EXPECT_THAT(positions_of(dng.tile_offsets()), ElementsAre(51U, 55U, 59U));
    EXPECT_THAT(dng.tile_byte_counts(), IsEmpty());
    dng.read_tile_byte_counts(0);
    EXPECT_THAT(values_of(dng.tile_byte_counts()), ElementsAre(500U, 600U));
    EXPECT_THAT(positions_of(dng.tile_byte_counts()), ElementsAre(81U, 85U));
    EXPECT_EQ(dng.tile_offsets().size(), 3U);
}

TEST_P(DngInBothOrders, TileEntryWithCountOneStillPointsAtAList) {
    Bytes file = with_entry(blank(), 0, 324, 4, 1, 41);
    file = with_entry(file, 12, 325, 4, 1, 50);
    file = with_numbers(file, 41, {77});
    file = with_numbers(file, 50, {88});
    DNG dng = open(file);
    dng.read_tile_offsets(0);
    dng.read_tile_byte_counts(0);
    EXPECT_THAT(positions_of(dng.tile_offsets()), ElementsAre(41U));
    EXPECT_THAT(values_of(dng.tile_offsets()), ElementsAre(77U));
    EXPECT_THAT(positions_of(dng.tile_byte_counts()), ElementsAre(50U));
    EXPECT_THAT(values_of(dng.tile_byte_counts()), ElementsAre(88U));
}

TEST_P(DngInBothOrders, TileListsNeedOneByteAfterThem) {
    Bytes file = with_entry(blank(49), 0, 324, 4, 2, 40);
    file = with_entry(file, 12, 325, 4, 2, 40);
    file = with_numbers(file, 40, {5, 6});
    DNG dng = open(file);
    dng.read_tile_offsets(0);
    dng.read_tile_byte_counts(0);
    EXPECT_THAT(values_of(dng.tile_offsets()), ElementsAre(5U, 6U));
    EXPECT_THAT(values_of(dng.tile_byte_counts()), ElementsAre(5U, 6U));
    for (const std::size_t size : {48U, 47U}) {
        file.resize(size);
        EXPECT_THROW(open(file).read_tile_offsets(0), OutRangeException) << size;
        EXPECT_THROW(open(file).read_tile_byte_counts(0), OutRangeException) << size;
    }
}

TEST_P(DngInBothOrders, TileListOutsideTheFileIsOutOfRange) {
    for (const std::uint32_t value : {61U, 63U, 64U, 65U, 0xFFFFFFFFU}) {
        const Bytes file = with_entry(with_entry(blank(64), 0, 324, 4, 1, value), 12, 325, 4, 1, value);
        EXPECT_THROW(open(file).read_tile_offsets(0), OutRangeException) << value;
        EXPECT_THROW(open(file).read_tile_byte_counts(0), OutRangeException) << value;
    }
}

TEST_P(DngInBothOrders, AbsurdCountOfTilesIsOutOfRange) {
    for (const std::uint32_t count : {0x40000001U, 0xFFFFFFFFU}) {
        EXPECT_THROW(open(with_entry(blank(64), 0, 324, 4, count, 40)).read_tile_offsets(0),
                     OutRangeException);
    }
}

TEST_P(DngInBothOrders, TilesAreSearchedForFromTheStartOn) {
    Bytes file = with_entry(blank(128), 5, 324, 4, 1, 100);
    file = with_entry(file, 20, 324, 4, 1, 104);
    file = with_entry(file, 40, 325, 4, 1, 100);
    file = with_entry(file, 60, 325, 4, 1, 104);
    file = with_numbers(file, 100, {1, 2});
    DNG dng = open(file);
    dng.read_tile_offsets(5);
    dng.read_tile_byte_counts(40);
    EXPECT_THAT(values_of(dng.tile_offsets()), ElementsAre(1U));
    EXPECT_THAT(values_of(dng.tile_byte_counts()), ElementsAre(1U));
    dng.read_tile_offsets(6);
    dng.read_tile_byte_counts(41);
    EXPECT_THAT(values_of(dng.tile_offsets()), ElementsAre(2U)) << "the list is replaced";
    EXPECT_THAT(values_of(dng.tile_byte_counts()), ElementsAre(2U));
    EXPECT_THROW(dng.read_tile_offsets(21), NotFoundException);
    EXPECT_THROW(dng.read_tile_byte_counts(61), NotFoundException);
}

TEST_P(DngInBothOrders, ThrowLeavesTheOldTileLists) {
    Bytes file = with_entry(blank(128), 0, 324, 4, 1, 100);
    file = with_entry(file, 12, 325, 4, 1, 104);
    file = with_numbers(file, 100, {1, 2});
    file = with_entry(file, 24, 324, 99, 1, 100); // Illegal,
    file = with_entry(file, 36, 325, 99, 1, 100);
    file = with_entry(file, 48, 324, 4, 30, 100); // and lists that run past the end.
    file = with_entry(file, 60, 325, 4, 30, 100);
    DNG dng = open(file);
    dng.read_tile_offsets(0);
    dng.read_tile_byte_counts(0);
    EXPECT_THROW(dng.read_tile_offsets(20), IllegalException);
    EXPECT_THROW(dng.read_tile_byte_counts(20), IllegalException);
    EXPECT_THROW(dng.read_tile_offsets(40), OutRangeException);
    EXPECT_THROW(dng.read_tile_byte_counts(40), OutRangeException);
    EXPECT_THROW(dng.read_tile_offsets(110), NotFoundException);
    EXPECT_THROW(dng.read_tile_byte_counts(110), NotFoundException);
    EXPECT_THAT(values_of(dng.tile_offsets()), ElementsAre(1U));
    EXPECT_THAT(values_of(dng.tile_byte_counts()), ElementsAre(2U));
}

TEST_F(Dng, ReturnsCopiesOfItsTileLists) {
    DNG dng = open({0x44, 0x01, 4, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0xFF});
    dng.read_tile_offsets(0);
    dng.tile_offsets().front().value = 99;
    EXPECT_THAT(values_of(dng.tile_offsets()), ElementsAre(0x00040144U));
}

// Numbers as they are stored.

TEST_F(Dng, NumbersAreStoredInTheFilesByteOrder) {
    EXPECT_EQ(open({0}).as_stored(0x01020304), 0x04030201U);
    EXPECT_EQ(open({0}, ByteOrder::kBig).as_stored(0x01020304), 0x01020304U);
}

// Appending.

TEST_F(Dng, AppendsToAFileAndCreatesAMissingOne) {
    const auto target = folder / "target";
    DNG::append_to_file(Bytes{}, target);
    EXPECT_EQ(test::read_file(target), Bytes{});
    DNG::append_to_file(Bytes{1, 0x0A, 0x1A}, target);
    DNG::append_to_file(Bytes{0, 0x0D}, target);
    EXPECT_EQ(test::read_file(target), (Bytes{1, 0x0A, 0x1A, 0, 0x0D}));
}

TEST_F(Dng, FailedAppendIsNotReported) {
    EXPECT_NO_THROW(DNG::append_to_file(Bytes{1}, folder / "missing" / "target"));
    EXPECT_NO_THROW(DNG::append_to_file(Bytes{1}, folder.path()));
}

} // namespace
} // namespace plate_mend
