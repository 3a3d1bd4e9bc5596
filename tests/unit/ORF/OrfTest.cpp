#include "ORF/ORF.h"

#include "api/Exceptions.h"
#include "support/Bytes.h"
#include "support/OrfPhoto.h"
#include "support/TempDir.h"
#include "support/TiffWriter.h"
#include "util/Reading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

namespace plate_mend {
namespace {

using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::Pair;
using ::testing::StrEq;
using ::testing::Throws;

using test::ByteOrder;
using test::Bytes;
using test::entry_bytes;
using test::OrfPhoto;
using test::strip_group;

constexpr auto kBothOrders = {ByteOrder::kLittle, ByteOrder::kBig};

/// An exception whose kept message is the text.
template <typename Exception>
auto ThrowsWithMessage(const char* text) {
    return Throws<Exception>(Field("message", &Exception::message, StrEq(text)));
}

/// An exception that was given no message.
template <typename Exception>
auto ThrowsWithoutMessage() {
    return Throws<Exception>(Field("message", &Exception::message, IsNull()));
}

class OrfModel : public ::testing::Test {
  protected:
    /// A model of a file with these bytes.
    std::shared_ptr<ORF> model(const Bytes& bytes, ByteOrder order = ByteOrder::kLittle) {
        path = folder / ("file" + std::to_string(++files) + ".orf");
        test::write_file(path, bytes);
        auto orf = std::make_shared<ORF>(path);
        orf->set_big_endian(order == ByteOrder::kBig ? 1 : 0);
        return orf;
    }

    /// Closes the last model's file, which may not be open elsewhere when it is read, and returns its bytes.
    [[nodiscard]] Bytes on_disk(const std::shared_ptr<ORF>& orf) const {
        orf->mapped_file->close();
        return test::read_file(path);
    }

    test::TempDir folder;
    std::filesystem::path path;
    int files = 0;
};

// ---- the mapping

TEST_F(OrfModel, MissingOrAnEmptyFileIsNotMapped) {
    EXPECT_FALSE(ORF(folder / "missing.orf").is_mapped());
    EXPECT_FALSE(model({})->is_mapped());
    EXPECT_TRUE(model({1})->is_mapped());
}

TEST_F(OrfModel, NewModelKnowsNothing) {
    const auto orf = std::make_shared<ORF>(folder / "missing.orf");
    EXPECT_THAT(orf->mapped_file, NotNull());
    EXPECT_THAT(orf->ifh, IsNull());
    EXPECT_THAT(orf->ifd0, IsNull());
    EXPECT_THAT(orf->spare_ifd, IsNull());
    EXPECT_EQ(orf->big_endian(), 0);
}

TEST_F(OrfModel, ByteOrderCanBeSet) {
    const auto orf = model({1, 2}, ByteOrder::kBig);
    EXPECT_EQ(orf->big_endian(), 1);
    EXPECT_EQ(orf->native(std::uint16_t{0x0102}), 0x0102);
    EXPECT_EQ(orf->native(std::uint32_t{0x01020304}), 0x01020304U);
    orf->set_big_endian(0);
    EXPECT_EQ(orf->big_endian(), 0);
    EXPECT_EQ(orf->native(std::uint16_t{0x0102}), 0x0201);
    EXPECT_EQ(orf->native(std::uint32_t{0x01020304}), 0x04030201U);
}

// ---- read_ifh

TEST_F(OrfModel, ReadsALittleEndianHeaderAsStored) {
    const auto orf = model({'I', 'I', 'R', 'O', 0x08, 0x01, 0, 0}, ByteOrder::kBig);
    orf->read_ifh();
    EXPECT_EQ(orf->ifh->byte_order, 0x4949);
    EXPECT_EQ(orf->ifh->flag, 0x524F);
    EXPECT_EQ(orf->ifh->first_ifd_offset, 0x08010000U);
    EXPECT_EQ(orf->big_endian(), 0);
    EXPECT_EQ(orf->first_ifd_offset(), 0x108U);
}

TEST_F(OrfModel, ReadsABigEndianHeaderAsStored) {
    const auto orf = model({'M', 'M', 'O', 'R', 0, 0, 0x01, 0x08});
    orf->read_ifh();
    EXPECT_EQ(orf->ifh->byte_order, 0x4D4D);
    EXPECT_EQ(orf->ifh->flag, 0x4F52);
    EXPECT_EQ(orf->ifh->first_ifd_offset, 0x108U);
    EXPECT_EQ(orf->big_endian(), 1);
    EXPECT_EQ(orf->first_ifd_offset(), 0x108U);
}

TEST_F(OrfModel, EitherFlagPassesWithEitherByteOrder) {
    const auto little = model({'I', 'I', 'O', 'R', 8, 0, 0, 0});
    EXPECT_NO_THROW(little->read_ifh());
    EXPECT_EQ(little->big_endian(), 0);
    const auto big = model({'M', 'M', 'R', 'O', 0, 0, 0, 8});
    EXPECT_NO_THROW(big->read_ifh());
    EXPECT_EQ(big->big_endian(), 1);
}

TEST_F(OrfModel, AnyOtherByteOrderIsIllegal) {
    for (const auto& mark : std::vector<Bytes>{
             {'I', 'M'}, {'M', 'I'}, {0x49, 0x48}, {0x49, 0x4A}, {0x4D, 0x4C}, {0x4D, 0x4E}, {0, 0}}) {
        const auto orf = model(test::joined(mark, {'R', 'O', 8, 0, 0, 0}));
        EXPECT_THAT([&] { orf->read_ifh(); }, ThrowsWithMessage<IllegalException>("byte order flag illegal"));
    }
}

TEST_F(OrfModel, AnyOtherFlagIsIllegalTheNumber42Included) {
    for (const auto& flag : std::vector<Bytes>{
             {42, 0}, {0, 42}, {'R', 'S'}, {0x52, 0x4E}, {0x52, 0x50}, {0x4F, 0x51}, {0x4F, 0x53}}) {
        const auto orf = model({'I', 'I', flag[0], flag[1], 8, 0, 0, 0});
        EXPECT_THAT([&] { orf->read_ifh(); }, ThrowsWithMessage<IllegalException>("orf flag illegal"));
    }
}

TEST_F(OrfModel, FirstIfdOffsetOfZeroIsIllegal) {
    const auto zero = model({'I', 'I', 'R', 'O', 0, 0, 0, 0});
    EXPECT_THAT([&] { zero->read_ifh(); }, ThrowsWithMessage<IllegalException>("first ifd offset illegal"));
    EXPECT_NO_THROW(model({'I', 'I', 'R', 'O', 1, 0, 0, 0})->read_ifh());
    EXPECT_NO_THROW(model({'I', 'I', 'R', 'O', 0, 0, 0, 0x80})->read_ifh());
}

TEST_F(OrfModel, HeaderIsJudgedByteOrderFirstThenFlagThenOffset) {
    const auto nothing_good = model(Bytes(8));
    EXPECT_THAT([&] { nothing_good->read_ifh(); },
                ThrowsWithMessage<IllegalException>("byte order flag illegal"));
    const auto good_order = model({'I', 'I', 0, 0, 0, 0, 0, 0});
    EXPECT_THAT([&] { good_order->read_ifh(); }, ThrowsWithMessage<IllegalException>("orf flag illegal"));
}

TEST_F(OrfModel, IllegalHeaderIsNotStored) {
    const auto orf = model({'M', 'M', 'O', 'R', 0, 0, 0, 0});
    EXPECT_THROW(orf->read_ifh(), IllegalException);
    EXPECT_THAT(orf->ifh, IsNull());
    EXPECT_EQ(orf->big_endian(), 0);
}

TEST_F(OrfModel, HeaderOfFewerThanEightBytesIsOutOfRange) {
    const Bytes header{'I', 'I', 'R', 'O', 8, 0, 0, 0};
    for (std::size_t size = 1; size < header.size(); ++size) {
        const auto orf = model(test::part(header, 0, size));
        EXPECT_THAT([&] { orf->read_ifh(); }, ThrowsWithoutMessage<OutRangeException>()) << size;
    }
    EXPECT_NO_THROW(model(header)->read_ifh());
}

TEST_F(OrfModel, HeaderCutAfterIllegalBytesIsStillOutOfRange) {
    const auto orf = model(Bytes(7));
    EXPECT_THROW(orf->read_ifh(), OutRangeException);
}

// ---- read_ifd0

TEST_F(OrfModel, ReturnsTheNextDirectoryAndTheLastByteOfItsPointer) {
    for (const ByteOrder order : kBothOrders) {
        for (const std::uint16_t count : std::vector<std::uint16_t>{0, 1, 3, 300}) {
            Bytes bytes = test::noise(7 + 2 + 12U * count + 4, 1);
            test::put_u16(bytes, 7, count, order);
            test::put_u32(bytes, bytes.size() - 4, 0x00ABCDEF, order);
            const auto orf = model(bytes, order);
            EXPECT_THAT(orf->read_ifd0(7), Pair(0x00ABCDEFU, 7U + 5 + 12 * count));
            EXPECT_EQ(orf->native(orf->ifd0->count), count);
            EXPECT_EQ(orf->native(orf->ifd0->next), 0x00ABCDEFU);
            EXPECT_THAT(orf->ifd0->entries, IsEmpty());
        }
    }
}

TEST_F(OrfModel, KeepsCountAndPointerOfADirectoryAsStored) {
    Bytes bytes(2 + 12 + 4);
    bytes[0] = 1;
    bytes[14] = 0x12;
    const auto orf = model(bytes);
    EXPECT_THAT(orf->read_ifd0(0), Pair(0x12U, 17U));
    EXPECT_EQ(orf->ifd0->count, 0x0100);
    EXPECT_EQ(orf->ifd0->next, 0x12000000U);
}

TEST_F(OrfModel, Ifd0PastTheEndIsVisitingBeyond) {
    const auto orf = model(Bytes(20));
    for (const std::uint32_t offset : {20U, 21U, 0xFFFFFFFFU}) {
        EXPECT_THAT([&] { (void)orf->read_ifd0(offset); },
                    ThrowsWithMessage<VisitingBeyondException>("ifd 0 offset out of range"));
    }
    EXPECT_THAT([&] { (void)orf->read_ifd0(19); }, ThrowsWithoutMessage<OutRangeException>());
    EXPECT_THAT(orf->ifd0, IsNull());
}

TEST_F(OrfModel, Ifd0WhosePointerEndsOnTheLastBytePasses) {
    const auto whole = model(Bytes(6));
    EXPECT_THAT(whole->read_ifd0(0), Pair(0U, 5U));
    for (std::size_t size = 2; size < 6; ++size) {
        const auto cut = model(Bytes(size));
        EXPECT_THAT([&] { (void)cut->read_ifd0(0); }, ThrowsWithoutMessage<OutRangeException>()) << size;
    }
}

TEST_F(OrfModel, CountOf300ThatPointsPastTheFileIsOutOfRange) {
    Bytes bytes(2 + 12 * 300 + 4);
    test::put_u16(bytes, 0, 300, ByteOrder::kLittle);
    EXPECT_NO_THROW((void)model(bytes)->read_ifd0(0));
    bytes.resize(1000);
    const auto orf = model(bytes);
    EXPECT_THAT([&] { (void)orf->read_ifd0(0); }, ThrowsWithoutMessage<OutRangeException>());
}

TEST_F(OrfModel, ReadingIfd0AgainBeginsANewDirectory) {
    const OrfPhoto photo = test::make_orf();
    const auto orf = model(photo.bytes);
    const auto [next, end] = orf->read_ifd0(8);
    orf->read_sample_tags(8, end);
    const auto first = orf->ifd0;
    EXPECT_THAT(orf->read_ifd0(8), Pair(next, end));
    EXPECT_NE(orf->ifd0, first);
    EXPECT_THAT(orf->ifd0->entries, IsEmpty());
}

// ---- the searches

TEST_F(OrfModel, FindsAPatternThatEndsOnTheLastByteAndOneAtTheStart) {
    const auto orf = model({1, 2, 3, 9, 1, 2});
    EXPECT_EQ(orf->search_tag({1, 2}, 0), 0U);
    EXPECT_EQ(orf->search_tag({1, 2}, 1), 4U);
    EXPECT_EQ(orf->search_tag({1, 2}, 4), 4U);
    EXPECT_THAT(
        [&] {
            (void)orf->search_tag({1, 2}, 5);
        },
        ThrowsWithMessage<NotFoundException>("not found order tag"));
}

TEST_F(OrfModel, SearchFromTheEndFindsNothingAndOneFromPastItIsOutOfRange) {
    for (const ByteOrder order : kBothOrders) {
        const auto orf = model({1, 2, 3, 4}, order);
        EXPECT_THAT(
            [&] {
                (void)orf->search_tag({1, 2}, 4);
            },
            ThrowsWithMessage<NotFoundException>("not found order tag"));
        EXPECT_THAT(
            [&] {
                (void)orf->search_order_tag({1, 2}, 4);
            },
            ThrowsWithMessage<NotFoundException>("not found order tag"));
        EXPECT_THAT(
            [&] {
                (void)orf->search_tag({1, 2}, 5);
            },
            ThrowsWithMessage<OutRangeException>("search tag offset out of range"));
        EXPECT_THAT(
            [&] {
                (void)orf->search_order_tag({1, 2}, 5);
            },
            ThrowsWithMessage<OutRangeException>("search tag offset out of range"));
    }
}

TEST_F(OrfModel, PatternLongerThanTheRestIsNotFound) {
    const auto orf = model({1, 2, 3});
    EXPECT_THROW((void)orf->search_tag({1, 2, 3, 4}, 0), NotFoundException);
    EXPECT_EQ(orf->search_tag({1, 2, 3}, 0), 0U);
}

TEST_F(OrfModel, SearchTagComparesAsStoredInEitherByteOrder) {
    for (const ByteOrder order : kBothOrders) {
        EXPECT_EQ(model({0, 0x11, 0x01, 0x11, 0}, order)->search_tag({0x01, 0x11}, 0), 2U);
    }
}

TEST_F(OrfModel, SearchOrderTagComparesBackToFrontInALittleEndianFile) {
    const Bytes bytes{0, 0x11, 0x01, 0x11, 0};
    EXPECT_EQ(model(bytes)->search_order_tag({0x01, 0x11}, 0), 1U);
    EXPECT_EQ(model(bytes, ByteOrder::kBig)->search_order_tag({0x01, 0x11}, 0), 2U);
    EXPECT_EQ(model(bytes)->search_order_tag_in_range({0x01, 0x11}, 0, 5), 1U);
    EXPECT_EQ(model(bytes, ByteOrder::kBig)->search_order_tag_in_range({0x01, 0x11}, 0, 5), 2U);
}

TEST_F(OrfModel, RangeThatEndsPastTheFileIsOutOfRange) {
    const auto orf = model({1, 2, 3, 4}, ByteOrder::kBig);
    EXPECT_EQ(orf->search_order_tag_in_range({3, 4}, 0, 4), 2U);
    EXPECT_THAT(
        [&] {
            (void)orf->search_order_tag_in_range({3, 4}, 0, 5);
        },
        ThrowsWithMessage<OutRangeException>("search tag end offset out of range"));
}

TEST_F(OrfModel, MatchMustBeWhollyInsideTheRange) {
    const auto orf = model({0, 1, 2, 0}, ByteOrder::kBig);
    EXPECT_EQ(orf->search_order_tag_in_range({1, 2}, 1, 3), 1U);
    EXPECT_THAT(
        [&] {
            (void)orf->search_order_tag_in_range({1, 2}, 1, 2);
        },
        ThrowsWithMessage<NotFoundException>("not found order tag"));
    EXPECT_THAT(
        [&] {
            (void)orf->search_order_tag_in_range({1, 2}, 2, 4);
        },
        ThrowsWithMessage<NotFoundException>("not found order tag"));
}

TEST_F(OrfModel, EmptyOrAReversedRangeHoldsNothing) {
    const auto orf = model({1, 2, 1, 2}, ByteOrder::kBig);
    EXPECT_THROW((void)orf->search_order_tag_in_range({1, 2}, 2, 2), NotFoundException);
    EXPECT_THROW((void)orf->search_order_tag_in_range({1, 2}, 2, 0), NotFoundException);
    EXPECT_THROW((void)orf->search_order_tag_in_range({1, 2}, 0xFFFFFFFF, 4), NotFoundException);
}

// ---- read_sample_tags

TEST_F(OrfModel, ReadsTheThreeEntriesOfASampleAsStored) {
    for (const ByteOrder order : kBothOrders) {
        const OrfPhoto photo = test::make_orf({.order = order});
        const auto orf = model(photo.bytes);
        orf->read_ifh();
        const auto [next, end] = orf->read_ifd0(orf->first_ifd_offset());
        EXPECT_EQ(next, 0U);
        orf->read_sample_tags(orf->first_ifd_offset(), end);
        ASSERT_EQ(orf->ifd0->entries.size(), 3U);
        const std::array<std::uint16_t, 3> tags{273, 278, 279};
        const std::array<std::uint32_t, 3> values{photo.image, 64, photo.image_size};
        for (std::size_t index = 0; index < 3; ++index) {
            const ORF_DE& de = *orf->ifd0->entries[index];
            EXPECT_EQ(orf->native(de.tag), tags[index]);
            EXPECT_EQ(orf->native(de.type), 4);
            EXPECT_EQ(orf->native(de.value), values[index]);
            EXPECT_EQ(de.position, index == 2 ? photo.ifd0.entry(279) : 0U);
        }
    }
}

TEST_F(OrfModel, KeepsOnlyTheLastTwoBytesOfASamplesCount) {
    Bytes bytes(2);
    for (const std::uint16_t tag : std::vector<std::uint16_t>{273, 278, 279}) {
        bytes = test::joined(bytes, entry_bytes(tag, 4, 0x01020304, 0x0A0B0C0D, ByteOrder::kBig));
    }
    bytes.resize(bytes.size() + 4);
    const auto orf = model(bytes, ByteOrder::kBig);
    orf->ifd0 = std::make_shared<ORF_IFD>();
    orf->read_sample_tags(0, static_cast<std::uint32_t>(bytes.size() - 1));
    ASSERT_EQ(orf->ifd0->entries.size(), 3U);
    for (const auto& de : orf->ifd0->entries) {
        EXPECT_EQ(de->type, 4);
        EXPECT_EQ(de->count, 0x0304U);
        EXPECT_EQ(de->value, 0x0A0B0C0DU);
    }
    EXPECT_EQ(orf->ifd0->entries[2]->position, 2U + 24);
}

TEST_F(OrfModel, DirectoryEndPastTheFileIsVisitingBeyond) {
    const Bytes bytes = strip_group(1, 2, ByteOrder::kLittle);
    const auto orf = model(bytes);
    orf->ifd0 = std::make_shared<ORF_IFD>();
    EXPECT_THAT([&] { orf->read_sample_tags(0, 60); },
                ThrowsWithMessage<VisitingBeyondException>("ifd 0 end offset out of range"));
    EXPECT_THAT(orf->ifd0->entries, IsEmpty());
    EXPECT_NO_THROW(orf->read_sample_tags(0, 59));
    EXPECT_EQ(orf->ifd0->entries.size(), 3U);
}

TEST_F(OrfModel, HitInsideAnEntrysValueIsTakenAsTheTag) {
    for (const ByteOrder order : kBothOrders) {
        Bytes bytes = test::joined(entry_bytes(256, 4, 1, 0, order), strip_group(0x1000, 0x2000, order));
        test::put_u16(bytes, 9, 273, order); // Inside the first entry's value, at an odd offset.
        const auto orf = model(bytes, order);
        orf->ifd0 = std::make_shared<ORF_IFD>();
        orf->read_sample_tags(0, 71);
        const Bytes taken = test::part(bytes, 9, 21);
        EXPECT_EQ(orf->ifd0->entries[0]->value, test::get_u32(taken, 8, ByteOrder::kBig));
        EXPECT_NE(orf->native(orf->ifd0->entries[0]->value), 0x1000U);
        EXPECT_EQ(orf->native(orf->ifd0->entries[2]->value), 0x2000U);
    }
}

TEST_F(OrfModel, ByteCountsFoundAtAnOddOffsetKeepThatPosition) {
    Bytes bytes = test::joined(entry_bytes(256, 4, 1, 0, ByteOrder::kLittle),
                               strip_group(0x1000, 0x2000, ByteOrder::kLittle));
    test::put_u16(bytes, 5, 279, ByteOrder::kLittle);
    const auto orf = model(bytes);
    orf->ifd0 = std::make_shared<ORF_IFD>();
    orf->read_sample_tags(0, 71);
    EXPECT_EQ(orf->ifd0->entries[2]->position, 5U);
}

TEST_F(OrfModel, SampleThatLacksOneOfTheTagsIsNotFound) {
    for (const std::size_t lost : {0U, 36U, 48U}) {
        Bytes bytes = strip_group(0x1000, 0x2000, ByteOrder::kLittle);
        test::put_u16(bytes, lost, 0x7777, ByteOrder::kLittle);
        const auto orf = model(bytes);
        orf->ifd0 = std::make_shared<ORF_IFD>();
        EXPECT_THAT([&] { orf->read_sample_tags(0, 59); },
                    ThrowsWithMessage<NotFoundException>("not found order tag"));
    }
}

TEST_F(OrfModel, TagAfterTheDirectoryIsNotSeen) {
    const auto orf = model(strip_group(0x1000, 0x2000, ByteOrder::kLittle));
    orf->ifd0 = std::make_shared<ORF_IFD>();
    EXPECT_NO_THROW(orf->read_sample_tags(0, 50)); // The tag's two bytes end at 50.
    EXPECT_THROW(orf->read_sample_tags(0, 49), NotFoundException);
    EXPECT_THROW(orf->read_sample_tags(1, 59), NotFoundException);
}

TEST_F(OrfModel, SampleEntryCutByTheEndOfTheFileIsOutOfRange) {
    const Bytes whole = strip_group(0x1000, 0x2000, ByteOrder::kLittle);
    for (std::size_t size = 51; size < whole.size(); ++size) {
        const auto orf = model(test::part(whole, 0, size));
        orf->ifd0 = std::make_shared<ORF_IFD>();
        EXPECT_THAT([&] { orf->read_sample_tags(0, static_cast<std::uint32_t>(size - 1)); },
                    ThrowsWithoutMessage<OutRangeException>())
            << size;
    }
}

// ---- blank_jpegs

const Bytes kJpegStart{0xFF, 0xD8, 0xFF, 0xDB};

TEST_F(OrfModel, BlanksThirtyBytesOfEveryJpegAndNothingElse) {
    const OrfPhoto photo = test::make_orf();
    const auto orf = model(photo.bytes);
    orf->blank_jpegs();
    Bytes expected = test::zeroed(photo.bytes, photo.thumbnail, photo.thumbnail + 30);
    expected = test::zeroed(expected, photo.preview, photo.preview + 30);
    EXPECT_EQ(on_disk(orf), expected);
    EXPECT_NE(expected, photo.bytes);
}

TEST_F(OrfModel, FileWithoutAJpegStartStaysUnchanged) {
    Bytes bytes(100, 0x5A);
    test::put_bytes(bytes, 10, {0xFF, 0xD8, 0xFF, 0xE0}); // A JFIF picture is none of them.
    test::put_bytes(bytes, 50, {0xFF, 0xD8, 0xFF});
    const auto orf = model(bytes);
    EXPECT_NO_THROW(orf->blank_jpegs());
    EXPECT_EQ(on_disk(orf), bytes);
}

TEST_F(OrfModel, FileShorterThanAJpegStartStaysUnchanged) {
    const auto orf = model({0xFF, 0xD8, 0xFF});
    EXPECT_NO_THROW(orf->blank_jpegs());
    EXPECT_EQ(on_disk(orf), (Bytes{0xFF, 0xD8, 0xFF}));
}

TEST_F(OrfModel, JpegStartsAreFoundInEitherByteOrder) {
    for (const ByteOrder order : kBothOrders) {
        Bytes bytes(100, 0x5A);
        test::put_bytes(bytes, 7, kJpegStart);
        const auto orf = model(bytes, order);
        orf->blank_jpegs();
        EXPECT_EQ(on_disk(orf), test::zeroed(bytes, 7, 37));
    }
}

TEST_F(OrfModel, JpegStartsInsideTheBlankedBytesOfAnotherAreBlankedToo) {
    Bytes bytes(100, 0x5A);
    test::put_bytes(bytes, 0, kJpegStart);
    test::put_bytes(bytes, 20, kJpegStart);
    test::put_bytes(bytes, 24, kJpegStart);
    const auto orf = model(bytes);
    orf->blank_jpegs();
    EXPECT_EQ(on_disk(orf), test::zeroed(bytes, 0, 54));
}

TEST_F(OrfModel, JpegStartsAtAnyDistancesAreBlankedAsIfAllHadBeenFoundBefore) {
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        Bytes bytes(400, 0x5A);
        std::vector<std::size_t> starts;
        for (std::size_t start = random() % 40; start + 4 <= bytes.size(); start += 4 + random() % 40) {
            test::put_bytes(bytes, start, kJpegStart);
            starts.push_back(start);
        }
        Bytes expected = bytes;
        for (const std::size_t start : starts) {
            expected = test::zeroed(expected, start, std::min<std::size_t>(start + 30, bytes.size()));
        }
        const auto orf = model(bytes);
        if (starts.back() + 30 < bytes.size()) {
            EXPECT_NO_THROW(orf->blank_jpegs());
        } else {
            EXPECT_THAT([&] { orf->blank_jpegs(); }, ThrowsWithoutMessage<OutRangeException>());
        }
        EXPECT_EQ(on_disk(orf), expected);
    }
}

TEST_F(OrfModel, JpegStart31BytesBeforeTheEndPassesAnd30Fails) {
    Bytes bytes(100, 0x5A);
    test::put_bytes(bytes, 69, kJpegStart);
    const auto passing = model(bytes);
    EXPECT_NO_THROW(passing->blank_jpegs());
    EXPECT_EQ(on_disk(passing), test::zeroed(bytes, 69, 99));

    bytes.pop_back();
    const auto failing = model(bytes);
    EXPECT_THAT([&] { failing->blank_jpegs(); }, ThrowsWithoutMessage<OutRangeException>());
    EXPECT_EQ(on_disk(failing), test::zeroed(bytes, 69, 99));
}

TEST_F(OrfModel, JpegStartNearTheEndIsOutOfRangeWithTheLastBytesZeroed) {
    for (const std::size_t left : {4U, 5U, 29U}) {
        Bytes bytes(100, 0x5A);
        test::put_bytes(bytes, 10, kJpegStart);
        test::put_bytes(bytes, 100 - left, kJpegStart);
        const auto orf = model(bytes);
        EXPECT_THAT([&] { orf->blank_jpegs(); }, ThrowsWithoutMessage<OutRangeException>());
        EXPECT_EQ(on_disk(orf), test::zeroed(test::zeroed(bytes, 10, 40), 100 - left, 100));
    }
}

// ---- is_raw_tag

TEST_F(OrfModel, KnowsTheGroupOfStripEntriesByItsDistances) {
    for (const ByteOrder order : kBothOrders) {
        const Bytes group = test::joined(Bytes(3), strip_group(1, 2, order));
        EXPECT_TRUE(model(group, order)->is_raw_tag(3));
        EXPECT_FALSE(
            model(group, order == ByteOrder::kBig ? ByteOrder::kLittle : ByteOrder::kBig)->is_raw_tag(3));
        EXPECT_FALSE(model(group, order)->is_raw_tag(2));
    }
}

TEST_F(OrfModel, EachOfTheThreeTagsMustBeRight) {
    for (const std::size_t at : {0U, 36U, 48U}) {
        for (const int change : {-1, 1}) {
            Bytes group = strip_group(1, 2, ByteOrder::kLittle);
            const std::uint16_t tag = test::get_u16(group, at, ByteOrder::kLittle);
            test::put_u16(group, at, static_cast<std::uint16_t>(tag + change), ByteOrder::kLittle);
            EXPECT_FALSE(model(group)->is_raw_tag(0));
        }
    }
}

TEST_F(OrfModel, EntriesBetweenAndAllButTheTagsAreNotLookedAt) {
    Bytes group = test::noise(50, 5);
    test::put_u16(group, 0, 273, ByteOrder::kLittle);
    test::put_u16(group, 36, 278, ByteOrder::kLittle);
    test::put_u16(group, 48, 279, ByteOrder::kLittle);
    EXPECT_TRUE(model(group)->is_raw_tag(0));
}

TEST_F(OrfModel, EntriesSideBySideAreNoGroup) {
    Bytes bytes = entry_bytes(273, 4, 1, 1, ByteOrder::kLittle);
    bytes = test::joined(bytes, entry_bytes(278, 4, 1, 1, ByteOrder::kLittle));
    bytes = test::joined(bytes, entry_bytes(279, 4, 1, 1, ByteOrder::kLittle));
    bytes.resize(60);
    EXPECT_FALSE(model(bytes)->is_raw_tag(0));
}

TEST_F(OrfModel, GroupNeeds50BytesToTheEndWhateverIsThere) {
    for (const Bytes& bytes : {strip_group(1, 2, ByteOrder::kLittle), Bytes(60)}) {
        const bool group = bytes[0] != 0;
        EXPECT_EQ(model(test::part(bytes, 0, 50))->is_raw_tag(0), group);
        for (const std::size_t size : {1U, 2U, 36U, 37U, 48U, 49U}) {
            const auto orf = model(test::part(bytes, 0, size));
            EXPECT_THAT([&] { (void)orf->is_raw_tag(0); }, ThrowsWithoutMessage<OutRangeException>()) << size;
        }
    }
}

TEST_F(OrfModel, GroupPastTheEndIsVisitingBeyond) {
    const auto orf = model(Bytes(70));
    for (const std::uint32_t offset : {70U, 71U, 0xFFFFFFFFU}) {
        EXPECT_THAT([&] { (void)orf->is_raw_tag(offset); },
                    ThrowsWithMessage<VisitingBeyondException>("raw tag offset is out of range"));
        EXPECT_THAT([&] { orf->read_damaged_tags(offset); },
                    ThrowsWithMessage<VisitingBeyondException>("raw tag offset is out of range"));
    }
    EXPECT_THAT([&] { (void)orf->is_raw_tag(69); }, ThrowsWithoutMessage<OutRangeException>());
    EXPECT_THAT([&] { orf->read_damaged_tags(69); }, ThrowsWithoutMessage<OutRangeException>());
}

// ---- read_damaged_tags

TEST_F(OrfModel, ReadsTheThreeEntriesOfADamagedFileAsStored) {
    for (const ByteOrder order : kBothOrders) {
        Bytes bytes = test::joined(Bytes(5), strip_group(0x11223344, 0x55667788, order));
        test::put_u32(bytes, 5 + 48 + 4, 0xA1B2C3D4, order); // The count, all four bytes of it.
        const auto orf = model(bytes, order);
        orf->read_damaged_tags(5);
        const auto& entries = orf->ifd0->entries;
        ASSERT_EQ(entries.size(), 3U);
        EXPECT_EQ(orf->native(entries[0]->tag), 273);
        EXPECT_EQ(orf->native(entries[1]->tag), 278);
        EXPECT_EQ(orf->native(entries[2]->tag), 279);
        EXPECT_EQ(orf->native(entries[0]->type), 4);
        EXPECT_EQ(orf->native(entries[0]->value), 0x11223344U);
        EXPECT_EQ(orf->native(entries[1]->value), 0x01020304U);
        EXPECT_EQ(orf->native(entries[2]->value), 0x55667788U);
        EXPECT_EQ(orf->native(entries[2]->count), 0xA1B2C3D4U);
        EXPECT_EQ(entries[2]->value, test::get_u32(bytes, 5 + 56, ByteOrder::kBig));
        EXPECT_EQ(orf->ifd0->count, 0);
        EXPECT_EQ(orf->ifd0->next, 0U);
        for (const auto& de : entries) {
            EXPECT_EQ(de->position, 0U);
        }
    }
}

TEST_F(OrfModel, DamagedEntriesNeed60BytesToTheEnd) {
    const Bytes group = strip_group(1, 2, ByteOrder::kLittle);
    EXPECT_NO_THROW(model(group)->read_damaged_tags(0));
    for (const std::size_t size : {50U, 59U}) {
        const auto orf = model(test::part(group, 0, size));
        EXPECT_TRUE(orf->is_raw_tag(0));
        EXPECT_THAT([&] { orf->read_damaged_tags(0); }, ThrowsWithoutMessage<OutRangeException>()) << size;
        EXPECT_THAT(orf->ifd0, IsNull());
    }
}

// ---- merge_data

class OrfMerge : public OrfModel {
  protected:
    /// A file that begins with a group of strip entries, and its model as the repair leaves it.
    std::shared_ptr<ORF> sample_model(std::uint32_t image) {
        sample_bytes = test::joined(strip_group(image, 0x0BADF00D, ByteOrder::kLittle), test::noise(40, 1));
        auto orf = model(sample_bytes);
        sample_path = path;
        orf->read_damaged_tags(0);
        orf->ifd0->entries[2]->position = 48;
        return orf;
    }
    std::shared_ptr<ORF> damaged_model(std::uint32_t image) {
        damaged_bytes = test::joined(strip_group(image, 0x00C0FFEE, ByteOrder::kLittle), test::noise(70, 2));
        auto orf = model(damaged_bytes);
        orf->read_damaged_tags(0);
        return orf;
    }
    /// The sample's bytes up to an offset, with the damaged file's byte count put in.
    [[nodiscard]] Bytes patched_sample(std::size_t size) const {
        Bytes bytes = sample_bytes;
        test::put_u32(bytes, 56, 0x00C0FFEE, ByteOrder::kLittle);
        return test::part(bytes, 0, size);
    }

    std::filesystem::path output = folder / "output.orf";
    std::filesystem::path sample_path;
    Bytes sample_bytes;
    Bytes damaged_bytes;
};

TEST_F(OrfMerge, JoinsThePatchedSampleAndTheDamagedFilesImage) {
    const auto sample = sample_model(80);
    const auto damaged = damaged_model(90);
    ORF::merge_data(damaged, sample, output);
    EXPECT_EQ(test::read_file(output),
              test::joined(patched_sample(80), test::part(damaged_bytes, 90, damaged_bytes.size())));
    EXPECT_EQ(test::read_file(sample_path), patched_sample(100));
    EXPECT_EQ(on_disk(damaged), damaged_bytes);
}

TEST_F(OrfMerge, ClosesTheSampleAndLeavesTheDamagedFileOpen) {
    const auto sample = sample_model(80);
    const auto damaged = damaged_model(90);
    ORF::merge_data(damaged, sample, output);
    EXPECT_THAT(sample->mapped_file->bytes(), IsEmpty());
    EXPECT_EQ(damaged->mapped_file->bytes().size(), damaged_bytes.size());
}

TEST_F(OrfMerge, CopiesTheByteCountAsStoredWithoutASwap) {
    const auto sample = sample_model(80);
    const auto damaged = damaged_model(90);
    sample->set_big_endian(1); // The offset then means something else, the four bytes do not.
    sample->ifd0->entries[0]->value = 80;
    ORF::merge_data(damaged, sample, output);
    EXPECT_EQ(test::part(test::read_file(output), 0, 80), patched_sample(80));
}

TEST_F(OrfMerge, SlicesMayEndAndBeginExactlyAtTheEndOfTheirFiles) {
    ORF::merge_data(damaged_model(130), sample_model(100), output);
    EXPECT_EQ(test::read_file(output), patched_sample(100));
}

TEST_F(OrfMerge, SlicesMayBeEmptyAndComplete) {
    ORF::merge_data(damaged_model(0), sample_model(0), output);
    EXPECT_EQ(test::read_file(output), damaged_bytes);
}

TEST_F(OrfMerge, SampleSlicePastItsFileIsOutOfRangeBeforeAByteIsWritten) {
    for (const std::uint32_t image : {101U, 0xFFFFFFFFU}) {
        EXPECT_THROW(ORF::merge_data(damaged_model(90), sample_model(image), output), OutRangeException);
        EXPECT_THAT(test::read_file(output), IsEmpty());
    }
}

TEST_F(OrfMerge, DamagedSlicePastItsFileIsOutOfRangeAndTheSamplesPartStays) {
    for (const std::uint32_t image : {131U, 0xFFFFFFFFU}) {
        EXPECT_THROW(ORF::merge_data(damaged_model(image), sample_model(80), output), OutRangeException);
        EXPECT_EQ(test::read_file(output), patched_sample(80));
    }
}

TEST_F(OrfMerge, ByteCountOnTheSamplesLastBytesIsOutOfRange) {
    const auto sample = sample_model(80);
    sample->ifd0->entries[2]->position = 100 - 13; // One byte after the value is left.
    EXPECT_NO_THROW(ORF::merge_data(damaged_model(90), sample, output));
    for (const std::uint32_t position : {100U - 12, 100U, 0xFFFFFFFFU}) {
        const auto cut = sample_model(80);
        cut->ifd0->entries[2]->position = position;
        EXPECT_THROW(ORF::merge_data(damaged_model(90), cut, output), OutRangeException);
        EXPECT_THAT(test::read_file(output), IsEmpty());
    }
}

TEST_F(OrfMerge, OutputThatDoesNotOpenIsVisitingBeyond) {
    const auto sample = sample_model(80);
    const auto damaged = damaged_model(90);
    EXPECT_THAT([&] { ORF::merge_data(damaged, sample, folder / "missing" / "output.orf"); },
                ThrowsWithoutMessage<VisitingBeyondException>());
    sample->mapped_file->close();
    EXPECT_EQ(test::read_file(sample_path), sample_bytes);
}

TEST_F(OrfMerge, OldOutputIsReplacedNotAppendedTo) {
    test::write_file(output, Bytes(500, 7));
    ORF::merge_data(damaged_model(90), sample_model(80), output);
    EXPECT_EQ(test::read_file(output).size(), 80 + damaged_bytes.size() - 90);
    std::filesystem::remove(output);
    std::filesystem::create_directories(output / "inside");
    ORF::merge_data(damaged_model(90), sample_model(80), output);
    EXPECT_TRUE(std::filesystem::is_regular_file(output));
}

} // namespace
} // namespace plate_mend
