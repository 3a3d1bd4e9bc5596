#include "SR2/SR2.h"

#include "api/Exceptions.h"
#include "support/Bytes.h"
#include "support/Sr2Photo.h"
#include "support/TempDir.h"
#include "support/TiffWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace plate_mend {
namespace {

using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::SizeIs;

using test::ByteOrder;
using test::Bytes;
using test::entry_bytes;
using test::Sr2Photo;
using test::strip_group;

constexpr auto kBothOrders = {ByteOrder::kLittle, ByteOrder::kBig};
constexpr SR2::Pattern kSubIfds{0x01, 0x4A};
constexpr SR2::Pattern kJpegLength{0x02, 0x02};

class Sr2Model : public ::testing::Test {
  protected:
    /// A model of a file with these bytes.
    std::shared_ptr<SR2> model(const Bytes& bytes, ByteOrder order = ByteOrder::kLittle) {
        path = folder / ("file" + std::to_string(++files) + ".sr2");
        test::write_file(path, bytes);
        auto sr2 = std::make_shared<SR2>(path);
        sr2->set_big_endian(order == ByteOrder::kBig);
        return sr2;
    }

    /// Closes the last model's file, which may not be open elsewhere when it is read, and returns its bytes.
    [[nodiscard]] Bytes on_disk(const std::shared_ptr<SR2>& sr2) const {
        sr2->map->close();
        return test::read_file(path);
    }

    test::TempDir folder;
    std::filesystem::path path;
    int files = 0;
};

/// A tag with a type after it, in bytes of 0xEE.
Bytes tag_at(std::size_t size, std::size_t offset, std::uint16_t tag, std::uint16_t type,
             ByteOrder order = ByteOrder::kLittle) {
    Bytes bytes(size, 0xEE);
    test::put_u16(bytes, offset, tag, order);
    if (offset + 4 <= size) {
        test::put_u16(bytes, offset + 2, type, order);
    }
    return bytes;
}

// ---- the mapping

TEST_F(Sr2Model, MissingOrAnEmptyFileIsNotMapped) {
    EXPECT_FALSE(SR2(folder / "missing.sr2").is_mapped());
    EXPECT_FALSE(SR2(folder / "missing.sr2", true).is_mapped());
    EXPECT_FALSE(model({})->is_mapped());
    EXPECT_TRUE(model({1})->is_mapped());
    EXPECT_TRUE(SR2(path, true).is_mapped());
}

TEST_F(Sr2Model, NewModelKnowsNothing) {
    const auto sr2 = std::make_shared<SR2>(folder / "missing.sr2");
    EXPECT_THAT(sr2->map, NotNull());
    EXPECT_THAT(sr2->ifh, IsNull());
    EXPECT_THAT(sr2->ifd0, IsNull());
    EXPECT_THAT(sr2->sub_ifd, IsNull());
    EXPECT_THAT(sr2->ifd1, IsNull());
    EXPECT_FALSE(sr2->is_big_endian());
}

// ---- parse_header

TEST_F(Sr2Model, ReadsTheHeaderOfEitherByteOrderAsStored) {
    const auto little = model({'I', 'I', 42, 0, 0x08, 0x01, 0, 0}, ByteOrder::kBig);
    little->parse_header();
    EXPECT_EQ(little->ifh->byte_order, 0x4949);
    EXPECT_EQ(little->ifh->version, 0x2A00);
    EXPECT_EQ(little->ifh->first_ifd_offset, 0x08010000U);
    EXPECT_FALSE(little->is_big_endian());
    EXPECT_EQ(little->first_ifd_offset(), 0x108U);

    const auto big = model({'M', 'M', 0, 42, 0, 0, 0x01, 0x08});
    big->parse_header();
    EXPECT_EQ(big->ifh->byte_order, 0x4D4D);
    EXPECT_EQ(big->ifh->version, 42);
    EXPECT_TRUE(big->is_big_endian());
    EXPECT_EQ(big->first_ifd_offset(), 0x108U);
}

TEST_F(Sr2Model, EitherSpellingOf42PassesWithEitherByteOrder) {
    EXPECT_NO_THROW(model({'I', 'I', 0, 42, 8, 0, 0, 0})->parse_header());
    EXPECT_NO_THROW(model({'M', 'M', 42, 0, 0, 0, 0, 8})->parse_header());
}

TEST_F(Sr2Model, AnyOtherHeaderIsIllegalAndNotStored) {
    for (const auto& header : std::vector<Bytes>{{'I', 'M', 42, 0, 8, 0, 0, 0},
                                                 {'M', 'L', 0, 42, 0, 0, 0, 8},
                                                 {'I', 'I', 41, 0, 8, 0, 0, 0},
                                                 {'I', 'I', 43, 0, 8, 0, 0, 0},
                                                 {'M', 'M', 0, 41, 0, 0, 0, 8},
                                                 {'M', 'M', 0, 43, 0, 0, 0, 8},
                                                 {'M', 'M', 0, 42, 0, 0, 0, 0}}) {
        const auto sr2 = model(header);
        EXPECT_THROW(sr2->parse_header(), IllegalException);
        EXPECT_THAT(sr2->ifh, IsNull());
        EXPECT_FALSE(sr2->is_big_endian());
    }
}

TEST_F(Sr2Model, HeaderOfFewerThanEightBytesIsOutOfRange) {
    const Bytes header{'I', 'I', 42, 0, 8, 0, 0, 0};
    for (std::size_t size = 1; size < header.size(); ++size) {
        EXPECT_THROW(model(test::part(header, 0, size))->parse_header(), OutRangeException) << size;
    }
}

// ---- the frames of directories

TEST_F(Sr2Model, ReadsTheFrameOfADirectory) {
    for (const ByteOrder order : kBothOrders) {
        Bytes bytes = test::noise(5 + 2 + 12 * 3 + 4, 1);
        test::put_u16(bytes, 5, 3, order);
        test::put_u32(bytes, bytes.size() - 4, 0x00ABCDEF, order);
        const auto sr2 = model(bytes, order);
        EXPECT_EQ(sr2->read_ifd0(5), 0x00ABCDEFU);
        EXPECT_EQ(sr2->native(sr2->ifd0->count), 3);
        EXPECT_EQ(sr2->native(sr2->ifd0->next), 0x00ABCDEFU);
        EXPECT_THAT(sr2->ifd0->entries, IsEmpty());
        sr2->read_ifd1(5);
        EXPECT_EQ(sr2->native(sr2->ifd1->next), 0x00ABCDEFU);
        EXPECT_NE(sr2->ifd0, sr2->ifd1);
    }
}

TEST_F(Sr2Model, DirectoryPastTheEndIsVisitingBeyondAndACutOneOutOfRange) {
    const auto sr2 = model(Bytes(20));
    for (const std::uint32_t offset : {20U, 21U, 0xFFFFFFFFU}) {
        EXPECT_THROW(sr2->read_ifd0(offset), VisitingBeyondException);
        EXPECT_THROW(sr2->read_ifd1(offset), VisitingBeyondException);
    }
    for (const std::uint32_t offset : {15U, 19U}) {
        EXPECT_THROW(sr2->read_ifd0(offset), OutRangeException);
        EXPECT_THROW(sr2->read_ifd1(offset), OutRangeException);
    }
    EXPECT_NO_THROW(sr2->read_ifd0(14)); // The next link ends on the last byte.
    EXPECT_NO_THROW(sr2->read_ifd1(14));
}

TEST_F(Sr2Model, AbsurdCountIsOutOfRange) {
    Bytes bytes(1000);
    test::put_u16(bytes, 0, 0xFFFF, ByteOrder::kLittle);
    EXPECT_THROW(model(bytes)->read_ifd0(0), OutRangeException);
}

TEST_F(Sr2Model, SubIfdIsWhereTheThirdEntryOfIfd0Says) {
    Bytes bytes(40);
    test::put_u32(bytes, 30 + 2, 0x77, ByteOrder::kLittle);
    const auto sr2 = model(bytes);
    sr2->ifd0 = std::make_shared<SR2_IFD>();
    for (const std::uint32_t value : {0U, 0U, 30U}) {
        sr2->ifd0->entries.push_back(std::make_shared<SR2_DE>());
        sr2->ifd0->entries.back()->value = sr2->native(value);
    }
    EXPECT_EQ(sr2->read_sub_ifd(), 30U);
    EXPECT_EQ(sr2->native(sr2->sub_ifd->next), 0x77U);
    for (const std::uint32_t value : {40U, 0xFFFFFFFFU}) {
        sr2->ifd0->entries[2]->value = sr2->native(value);
        EXPECT_THROW(sr2->read_sub_ifd(), VisitingBeyondException);
    }
    sr2->ifd0->entries[2]->value = sr2->native(39U);
    EXPECT_THROW(sr2->read_sub_ifd(), OutRangeException);
}

// ---- find_tag_in_range

TEST_F(Sr2Model, EndPastTheLastByteIsVisitingBeyond) {
    const auto sr2 = model(tag_at(20, 0, 330, 4));
    EXPECT_EQ(sr2->find_tag_in_range(kSubIfds, 0, 19), 0U);
    EXPECT_THROW(sr2->find_tag_in_range(kSubIfds, 0, 20), VisitingBeyondException);
}

TEST_F(Sr2Model, MatchIsWhollyInTheRangeAtAnyAlignment) {
    for (const ByteOrder order : kBothOrders) {
        const auto sr2 = model(tag_at(20, 7, 330, 4, order), order);
        EXPECT_EQ(sr2->find_tag_in_range(kSubIfds, 0, 19), 7U);
        EXPECT_EQ(sr2->find_tag_in_range(kSubIfds, 7, 9), 7U);
        EXPECT_THROW(sr2->find_tag_in_range(kSubIfds, 7, 8), NotFoundException);
        EXPECT_THROW(sr2->find_tag_in_range(kSubIfds, 8, 19), NotFoundException);
        EXPECT_THROW(sr2->find_tag_in_range(kSubIfds, 7, 7), NotFoundException);
    }
}

TEST_F(Sr2Model, EndBelowTheStartMakesARangeWithoutABound) {
    const auto sr2 = model(tag_at(20, 15, 330, 4));
    EXPECT_EQ(sr2->find_tag_in_range(kSubIfds, 3, 0), 15U);
    EXPECT_EQ(sr2->find_tag_in_range(kSubIfds, 3, 2), 15U);
}

TEST_F(Sr2Model, OnlyAFieldTypeOfTiffMakesAMatch) {
    EXPECT_FALSE(SR2::is_valid_type(0));
    EXPECT_FALSE(SR2::is_valid_type(13));
    EXPECT_FALSE(SR2::is_valid_type(0x0100));
    for (std::uint16_t type = 1; type <= 12; ++type) {
        EXPECT_TRUE(SR2::is_valid_type(type));
    }
    for (const std::uint16_t type : std::vector<std::uint16_t>{0, 13, 0x0400}) {
        const auto sr2 = model(tag_at(20, 4, 330, type));
        EXPECT_THROW(sr2->find_tag_in_range(kSubIfds, 0, 19), NotFoundException);
        EXPECT_THROW(sr2->find_tag(kSubIfds, 0), NotFoundException);
    }
    for (const std::uint16_t type : std::vector<std::uint16_t>{1, 12}) {
        const auto sr2 = model(tag_at(20, 4, 330, type));
        EXPECT_EQ(sr2->find_tag_in_range(kSubIfds, 0, 19), 4U);
        EXPECT_EQ(sr2->find_tag(kSubIfds, 0), 4U);
    }
}

TEST_F(Sr2Model, FalseMatchWithAPlausibleTypeBeforeTheTrueEntryWins) {
    Bytes bytes = tag_at(60, 40, 513, 4);
    test::put_u16(bytes, 11, 513, ByteOrder::kLittle);
    test::put_u16(bytes, 13, 9, ByteOrder::kLittle);
    const auto sr2 = model(bytes);
    EXPECT_EQ(sr2->find_tag_in_range({0x02, 0x01}, 0, 59), 11U);
    EXPECT_EQ(sr2->find_tag({0x02, 0x01}, 0), 11U);
}

TEST_F(Sr2Model, MatchOnTheLastTwoBytesIsVisitingBeyond) {
    const auto sr2 = model(tag_at(20, 18, 330, 4));
    EXPECT_THROW(sr2->find_tag(kSubIfds, 0), VisitingBeyondException);
    EXPECT_THROW(sr2->find_tag_in_range(kSubIfds, 3, 0), VisitingBeyondException);
}

TEST_F(Sr2Model, MatchWithHalfATypeIsOutOfRange) {
    const auto sr2 = model(tag_at(20, 17, 330, 4));
    EXPECT_THROW(sr2->find_tag(kSubIfds, 0), OutRangeException);
    EXPECT_THROW(sr2->find_tag_in_range(kSubIfds, 0, 19), OutRangeException);
}

TEST_F(Sr2Model, BoundedSearchGoesOnOneByteFurtherAndTheOpenOneTwo) {
    // 02 02 02 02 00: at 4 the type is 0x0202, at 5 it is 0x0002, good, and that match overlaps the first.
    Bytes bytes(20, 0xEE);
    test::put_bytes(bytes, 4, {0x02, 0x02, 0x02, 0x02, 0x00});
    const auto sr2 = model(bytes);
    EXPECT_EQ(sr2->find_tag_in_range(kJpegLength, 0, 19), 5U);
    EXPECT_THROW(sr2->find_tag(kJpegLength, 0), NotFoundException);
    EXPECT_EQ(sr2->find_tag(kJpegLength, 5), 5U);
}

TEST_F(Sr2Model, Tag0x0202ReadsTheSameInBothDirections) {
    for (const ByteOrder order : kBothOrders) {
        EXPECT_EQ(model(tag_at(20, 6, 0x0202, 4, order), order)->find_tag(kJpegLength, 0), 6U);
    }
    EXPECT_EQ(model({0xEE, 0x02, 0x02})->find_bytes(kJpegLength, 0), 1U);
    EXPECT_EQ(model({0xEE, 0x02, 0x02}, ByteOrder::kBig)->find_bytes(kJpegLength, 0), 1U);
}

// ---- find_tag and find_bytes

TEST_F(Sr2Model, OpenSearchMayStartAtTheEndButNotPastIt) {
    const auto sr2 = model(tag_at(20, 0, 330, 4));
    EXPECT_EQ(sr2->find_tag(kSubIfds, 0), 0U);
    EXPECT_THROW(sr2->find_tag(kSubIfds, 1), NotFoundException);
    EXPECT_THROW(sr2->find_tag(kSubIfds, 20), NotFoundException);
    EXPECT_THROW(sr2->find_tag(kSubIfds, 21), OutRangeException);
    EXPECT_THROW((void)sr2->find_bytes(kSubIfds, 20), NotFoundException);
    EXPECT_THROW((void)sr2->find_bytes(kSubIfds, 21), OutRangeException);
}

TEST_F(Sr2Model, FindBytesTakesAMatchWhateverFollows) {
    for (const ByteOrder order : kBothOrders) {
        const auto sr2 = model(tag_at(20, 18, 330, 0, order), order);
        EXPECT_EQ(sr2->find_bytes(kSubIfds, 0), 18U);
        EXPECT_EQ(sr2->find_bytes(kSubIfds, 18), 18U);
        EXPECT_THROW((void)sr2->find_bytes(kSubIfds, 19), NotFoundException);
        EXPECT_EQ(sr2->find_bytes_in_range(kSubIfds, 0, 20), 18U);
        EXPECT_THROW((void)sr2->find_bytes_in_range(kSubIfds, 0, 19), NotFoundException);
        EXPECT_THROW((void)sr2->find_bytes_in_range(kSubIfds, 0, 21), OutRangeException);
    }
}

// ---- the tags of the sample

TEST_F(Sr2Model, ReadsASampleInTheOrderOfItsCalls) {
    for (const ByteOrder order : kBothOrders) {
        const Sr2Photo photo = test::make_sr2({.order = order});
        const auto sr2 = model(photo.bytes);
        sr2->parse_header();
        EXPECT_EQ(sr2->first_ifd_offset(), photo.ifd0.offset);
        const std::uint32_t ifd1 = sr2->read_ifd0(photo.ifd0.offset);
        EXPECT_EQ(ifd1, photo.ifd1.offset);
        sr2->read_ifd0_tags(photo.ifd0.offset, ifd1);
        EXPECT_EQ(sr2->read_sub_ifd(), photo.sub_ifd.offset);
        sr2->read_sub_ifd_tags(photo.sub_ifd.offset);
        sr2->read_ifd1(ifd1);
        sr2->read_ifd1_tags(ifd1);

        const auto values = [&](const SR2_IFD& ifd) {
            std::vector<std::uint32_t> numbers;
            for (const auto& de : ifd.entries) {
                numbers.push_back(sr2->native(de->value));
            }
            return numbers;
        };
        EXPECT_EQ(values(*sr2->ifd0),
                  (std::vector<std::uint32_t>{photo.preview, photo.preview_size, photo.sub_ifd.offset}));
        EXPECT_EQ(values(*sr2->ifd1), (std::vector<std::uint32_t>{photo.thumbnail, photo.thumbnail_size}));
        EXPECT_EQ(values(*sr2->sub_ifd), (std::vector<std::uint32_t>{photo.image, 64, photo.image_size}));
        EXPECT_EQ(sr2->sub_ifd->entries[2]->position, photo.sub_ifd.entry(279));
        EXPECT_EQ(sr2->sub_ifd->entries[0]->position, 0U);
        EXPECT_EQ(sr2->sub_ifd->entries[1]->position, 0U);
        EXPECT_EQ(sr2->native(sr2->sub_ifd->entries[2]->tag), 279);
        EXPECT_EQ(sr2->native(sr2->sub_ifd->entries[2]->type), 4);
        EXPECT_EQ(sr2->native(sr2->sub_ifd->entries[2]->count), 1U);
    }
}

TEST_F(Sr2Model, TagsOfIfd0AreSearchedForUpToTheNextDirectory) {
    Bytes bytes = entry_bytes(513, 4, 1, 1, ByteOrder::kLittle);
    bytes = test::joined(bytes, entry_bytes(514, 4, 1, 2, ByteOrder::kLittle));
    bytes = test::joined(bytes, entry_bytes(330, 4, 1, 3, ByteOrder::kLittle));
    const auto sr2 = model(bytes);
    sr2->ifd0 = std::make_shared<SR2_IFD>();
    EXPECT_THROW(sr2->read_ifd0_tags(0, 36), VisitingBeyondException);
    EXPECT_THAT(sr2->ifd0->entries, IsEmpty());
    EXPECT_THROW(sr2->read_ifd0_tags(0, 25), NotFoundException); // The third tag ends at 26.
    sr2->ifd0 = std::make_shared<SR2_IFD>();
    sr2->read_ifd0_tags(0, 26);
    EXPECT_THAT(sr2->ifd0->entries, SizeIs(3));
}

TEST_F(Sr2Model, TagsOfIfd1AndTheSubIfdAreSearchedForToTheEndOfTheFile) {
    Bytes bytes = test::joined(Bytes(1000), entry_bytes(513, 4, 1, 1, ByteOrder::kLittle));
    bytes = test::joined(bytes, entry_bytes(514, 4, 1, 2, ByteOrder::kLittle));
    bytes = test::joined(bytes, strip_group(3, 4, ByteOrder::kLittle));
    const auto sr2 = model(bytes);
    sr2->ifd1 = std::make_shared<SR2_IFD>();
    sr2->sub_ifd = std::make_shared<SR2_IFD>();
    sr2->read_ifd1_tags(0);
    EXPECT_THAT(sr2->ifd1->entries, SizeIs(2));
    sr2->read_sub_ifd_tags(0);
    EXPECT_EQ(sr2->sub_ifd->entries[2]->position, 1000U + 24 + 48);
    const auto size = static_cast<std::uint32_t>(bytes.size());
    EXPECT_THROW(sr2->read_ifd1_tags(size), VisitingBeyondException);
    EXPECT_THROW(sr2->read_sub_ifd_tags(size), VisitingBeyondException);
    EXPECT_THROW(sr2->read_ifd1_tags(size - 1), NotFoundException);
    EXPECT_THROW(sr2->read_sub_ifd_tags(size - 1), NotFoundException);
}

TEST_F(Sr2Model, EachTagIsSearchedForFromTheStartNotFromTheLastHit) {
    Bytes bytes = entry_bytes(279, 4, 1, 7, ByteOrder::kLittle);
    bytes = test::joined(bytes, entry_bytes(278, 4, 1, 6, ByteOrder::kLittle));
    bytes = test::joined(bytes, entry_bytes(273, 4, 1, 5, ByteOrder::kLittle));
    const auto sr2 = model(bytes);
    sr2->sub_ifd = std::make_shared<SR2_IFD>();
    sr2->read_sub_ifd_tags(0);
    EXPECT_EQ(sr2->native(sr2->sub_ifd->entries[0]->value), 5U);
    EXPECT_EQ(sr2->native(sr2->sub_ifd->entries[1]->value), 6U);
    EXPECT_EQ(sr2->native(sr2->sub_ifd->entries[2]->value), 7U);
    EXPECT_EQ(sr2->sub_ifd->entries[2]->position, 0U);
}

TEST_F(Sr2Model, EntryCutByTheEndOfTheFileIsOutOfRange) {
    const Bytes whole = strip_group(1, 2, ByteOrder::kLittle);
    for (const std::size_t size : {52U, 59U}) {
        const auto sr2 = model(test::part(whole, 0, size));
        sr2->sub_ifd = std::make_shared<SR2_IFD>();
        EXPECT_THROW(sr2->read_sub_ifd_tags(0), OutRangeException);
    }
}

// ---- clear_previews

TEST_F(Sr2Model, ClearsThirtyBytesOfTheTwoPreviewsAndNothingElse) {
    for (const ByteOrder order : kBothOrders) {
        const Bytes bytes = test::noise(200, 1);
        const auto sr2 = model(bytes, order);
        sr2->ifd0 = std::make_shared<SR2_IFD>();
        sr2->ifd1 = std::make_shared<SR2_IFD>();
        sr2->ifd0->entries.push_back(std::make_shared<SR2_DE>());
        sr2->ifd1->entries.push_back(std::make_shared<SR2_DE>());
        sr2->ifd0->entries[0]->value = sr2->native(std::uint32_t{20});
        sr2->ifd1->entries[0]->value = sr2->native(std::uint32_t{169});
        sr2->clear_previews();
        EXPECT_EQ(on_disk(sr2), test::zeroed(test::zeroed(bytes, 20, 50), 169, 199));
    }
}

TEST_F(Sr2Model, PreviewThatStarts30BytesBeforeTheEndIsOutOfRangeWithItsBytesZeroed) {
    for (const std::uint32_t start : {170U, 199U, 200U, 0xFFFFFFFFU}) {
        const Bytes bytes = test::noise(200, 1);
        const auto sr2 = model(bytes);
        sr2->ifd0 = std::make_shared<SR2_IFD>();
        sr2->ifd1 = std::make_shared<SR2_IFD>();
        sr2->ifd0->entries.push_back(std::make_shared<SR2_DE>());
        sr2->ifd1->entries.push_back(std::make_shared<SR2_DE>());
        sr2->ifd0->entries[0]->value = sr2->native(std::uint32_t{20});
        sr2->ifd1->entries[0]->value = sr2->native(start);
        EXPECT_THROW(sr2->clear_previews(), OutRangeException);
        const Bytes first_zeroed = test::zeroed(bytes, 20, 50);
        EXPECT_EQ(on_disk(sr2), start < 200 ? test::zeroed(first_zeroed, start, 200) : first_zeroed);
    }
}

// ---- is_strip_triple and read_strip_triple

TEST_F(Sr2Model, KnowsTheStripEntriesByTheirDistances) {
    for (const ByteOrder order : kBothOrders) {
        const Bytes group = test::joined(Bytes(3), strip_group(1, 2, order));
        EXPECT_TRUE(model(group, order)->is_strip_triple(3));
        EXPECT_FALSE(model(group, order)->is_strip_triple(2));
        EXPECT_FALSE(model(group, order == ByteOrder::kBig ? ByteOrder::kLittle : ByteOrder::kBig)
                         ->is_strip_triple(3));
    }
}

TEST_F(Sr2Model, EachOfTheThreeTagsMustBeRight) {
    for (const std::size_t at : {0U, 36U, 48U}) {
        for (const int change : {-1, 1}) {
            Bytes group = strip_group(1, 2, ByteOrder::kLittle);
            const std::uint16_t tag = test::get_u16(group, at, ByteOrder::kLittle);
            test::put_u16(group, at, static_cast<std::uint16_t>(tag + change), ByteOrder::kLittle);
            EXPECT_FALSE(model(group)->is_strip_triple(0));
        }
    }
}

TEST_F(Sr2Model, StripEntriesSideBySideAreNotRecognised) {
    Bytes bytes = entry_bytes(273, 4, 1, 1, ByteOrder::kLittle);
    bytes = test::joined(bytes, entry_bytes(278, 4, 1, 1, ByteOrder::kLittle));
    bytes = test::joined(bytes, entry_bytes(279, 4, 1, 1, ByteOrder::kLittle));
    bytes.resize(60);
    EXPECT_FALSE(model(bytes)->is_strip_triple(0));
}

TEST_F(Sr2Model, StripTripleNeeds50BytesToTheEndWhateverIsThere) {
    for (const Bytes& bytes : {strip_group(1, 2, ByteOrder::kLittle), Bytes(60)}) {
        EXPECT_EQ(model(test::part(bytes, 0, 50))->is_strip_triple(0), bytes[0] != 0);
        for (const std::size_t size : {1U, 2U, 36U, 37U, 48U, 49U}) {
            EXPECT_THROW(model(test::part(bytes, 0, size))->is_strip_triple(0), OutRangeException) << size;
        }
    }
}

TEST_F(Sr2Model, StripTriplePastTheEndIsVisitingBeyond) {
    const auto sr2 = model(Bytes(70));
    for (const std::uint32_t offset : {70U, 71U, 0xFFFFFFFFU}) {
        EXPECT_THROW(sr2->is_strip_triple(offset), VisitingBeyondException);
        EXPECT_THROW(sr2->read_strip_triple(offset), VisitingBeyondException);
    }
    EXPECT_THROW(sr2->is_strip_triple(69), OutRangeException);
    EXPECT_THROW(sr2->read_strip_triple(69), OutRangeException);
}

TEST_F(Sr2Model, ReadsTheThreeEntriesOfADamagedFile) {
    for (const ByteOrder order : kBothOrders) {
        const auto sr2 = model(test::joined(Bytes(5), strip_group(0x11223344, 0x55667788, order)), order);
        sr2->read_strip_triple(5);
        ASSERT_THAT(sr2->sub_ifd->entries, SizeIs(3));
        const std::array<std::uint16_t, 3> tags{273, 278, 279};
        const std::array<std::uint32_t, 3> values{0x11223344, 0x01020304, 0x55667788};
        for (std::size_t index = 0; index < 3; ++index) {
            const SR2_DE& de = *sr2->sub_ifd->entries[index];
            EXPECT_EQ(sr2->native(de.tag), tags[index]);
            EXPECT_EQ(sr2->native(de.type), 4);
            EXPECT_EQ(sr2->native(de.count), 1U);
            EXPECT_EQ(sr2->native(de.value), values[index]);
            EXPECT_EQ(de.position, 0U);
        }
        EXPECT_EQ(sr2->sub_ifd->count, 0);
        EXPECT_EQ(sr2->sub_ifd->next, 0U);
    }
}

TEST_F(Sr2Model, ReadingAStripTripleNeeds60BytesToTheEnd) {
    const Bytes group = strip_group(1, 2, ByteOrder::kLittle);
    EXPECT_NO_THROW(model(group)->read_strip_triple(0));
    for (const std::size_t size : {50U, 59U}) {
        const auto sr2 = model(test::part(group, 0, size));
        EXPECT_TRUE(sr2->is_strip_triple(0));
        EXPECT_THROW(sr2->read_strip_triple(0), OutRangeException);
        EXPECT_THAT(sr2->sub_ifd, IsNull());
    }
}

TEST_F(Sr2Model, ReadOnlyModelFindsAndReads) {
    path = folder / "read_only.sr2";
    test::write_file(path, strip_group(7, 8, ByteOrder::kLittle));
    SR2 sr2(path, true);
    EXPECT_EQ(sr2.find_bytes({0x01, 0x11}, 0), 0U);
    ASSERT_TRUE(sr2.is_strip_triple(0));
    sr2.read_strip_triple(0);
    EXPECT_EQ(sr2.native(sr2.sub_ifd->entries[0]->value), 7U);
}

} // namespace
} // namespace plate_mend
