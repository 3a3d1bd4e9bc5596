#include "unit/RAF/RafModel.h"

#include "api/Exceptions.h"
#include "support/LogRecord.h"
#include "support/RafPhoto.h"
#include "support/TiffWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plate_mend {
namespace {

using test::ByteOrder;
using test::Bytes;
using test::RafPhoto;
using test::with;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kSource = "src/RAF/RafTools.cpp";
constexpr const char* kFunction = "RAF::deal_high_jpg_data";

const auto kNoXpacket = test::ErrorLine(kSource, kFunction, "sample file has no xpacket, continue next step");
const auto kNoSpecialFlag =
    test::ErrorLine(kSource, kFunction, "sample file has no special flag, continue next step");

class RafTools : public RafModel {
  protected:
    RafTools() { test::reset_stand_ins(); }
};

/// What the mapping of the file holds.
Bytes contents(const RAF& raf) {
    const auto bytes = raf.mapped_file->bytes();
    return {bytes.begin(), bytes.end()};
}

/// An entry with a count of 1.
Bytes entry(std::uint16_t tag, std::uint16_t type, std::uint32_t value,
            ByteOrder order = ByteOrder::kLittle) {
    return test::entry_bytes(tag, type, 1, value, order);
}

// Thumbnail tags.

TEST_F(RafTools, ReadsTheThumbnailTagsInEitherByteOrder) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        RAF raf = open(with(with(blank_bytes(400), 50, entry(0x0201, 4, 1000, order)), 62,
                            entry(0x0202, 4, 2000, order)));
        raf.set_big_endian(order == ByteOrder::kBig ? 1 : 0);
        raf.first_ifh.position = 7;
        raf.read_thumb_tags(20);
        const RAF_DE& offset = *raf.thumb_ifd->entries["thumb_offset"];
        const RAF_DE& size = *raf.thumb_ifd->entries["thumb_size"];
        EXPECT_EQ(offset.value, 1007U) << "made absolute";
        EXPECT_EQ(size.value, 2000U);
        EXPECT_EQ(offset.position, 0U);
        EXPECT_EQ(size.position, 0U);
        EXPECT_EQ(raf.thumb_ifd->entries.size(), 2U);
    }
}

TEST_F(RafTools, TagTypeAndCountOfAnEntryStayAsStored) {
    RAF raf = open(with(with(blank_bytes(400), 50, entry(0x0201, 4, 1000)), 62, entry(0x0202, 4, 2000)));
    raf.read_thumb_tags(0);
    const RAF_DE& offset = *raf.thumb_ifd->entries["thumb_offset"];
    EXPECT_EQ(offset.tag, 0x0102);
    EXPECT_EQ(offset.type, 0x0400);
    EXPECT_EQ(offset.count, 0x01000000U);
}

TEST_F(RafTools, ThumbnailTagsAreSearchedForWithTypeLongOnly) {
    const Bytes file = with(with(blank_bytes(400), 50, entry(0x0201, 3, 1)), 62, entry(0x0202, 4, 2000));
    EXPECT_THROW(open(file).read_thumb_tags(0), NotFoundException);
    RAF raf = open(with(file, 100, entry(0x0201, 4, 1000)));
    raf.read_thumb_tags(0);
    EXPECT_EQ(raf.thumb_ifd->entries["thumb_offset"]->value, 1000U);
}

TEST_F(RafTools, ThumbnailSizeIsSearchedForFromIfd1AndNotFromTheOffset) {
    RAF raf = open(with(with(blank_bytes(400), 62, entry(0x0201, 4, 1000)), 50, entry(0x0202, 4, 2000)));
    raf.read_thumb_tags(50);
    EXPECT_EQ(raf.thumb_ifd->entries["thumb_size"]->value, 2000U);
    EXPECT_THROW(raf.read_thumb_tags(51), NotFoundException);
}

TEST_F(RafTools, ThumbnailTagsBeforeIfd1AreNotSeen) {
    RAF raf = open(with(with(blank_bytes(400), 50, entry(0x0201, 4, 1000)), 62, entry(0x0202, 4, 2000)));
    EXPECT_NO_THROW(raf.read_thumb_tags(50));
    EXPECT_EQ(message_of<NotFoundException>([&] { raf.read_thumb_tags(51); }), "not found order tag");
    EXPECT_TRUE(raf.thumb_ifd->entries.empty()) << "what was read before is gone";
}

TEST_F(RafTools, ThumbnailTagsMayBeFarAfterIfd1UpToTheEndOfTheFile) {
    RAF raf =
        open(with(with(blank_bytes(40000), 39976, entry(0x0201, 4, 1000)), 39988, entry(0x0202, 4, 2000)));
    raf.read_thumb_tags(1);
    EXPECT_EQ(raf.thumb_ifd->entries["thumb_size"]->value, 2000U);
}

TEST_F(RafTools, ThumbnailEntryCutByTheEndIsOutOfRange) {
    Bytes file = with(with(blank_bytes(74), 50, entry(0x0201, 4, 1000)), 62, entry(0x0202, 4, 2000));
    file.pop_back();
    EXPECT_THROW(open(file).read_thumb_tags(0), OutRangeException);
    file.resize(66); // Tag and type alone.
    EXPECT_THROW(open(file).read_thumb_tags(0), OutRangeException);
    file.resize(65);
    EXPECT_THROW(open(file).read_thumb_tags(0), NotFoundException);
    file.resize(61); // Now the first entry is cut.
    EXPECT_THROW(open(file).read_thumb_tags(0), OutRangeException);
}

TEST_F(RafTools, Ifd1PastTheEndIsVisitingBeyond) {
    RAF raf = open(blank_bytes(64));
    EXPECT_THROW(raf.read_thumb_tags(63), NotFoundException);
    for (const std::uint32_t ifd1 : {64U, 65U, 0xFFFFFFFFU}) {
        EXPECT_EQ(message_of<VisitingBeyondException>([&] { raf.read_thumb_tags(ifd1); }),
                  "ifd1 offset out of range");
    }
}

// Strip tags of the sample.

TEST_F(RafTools, ReadsTheSamplesStripTagsInEitherByteOrder) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        RAF raf = open(with(with(blank_bytes(400), 101, entry(0xF007, 4, 1000, order)), 113,
                            entry(0xF008, 4, 2000, order)));
        raf.set_big_endian(order == ByteOrder::kBig ? 1 : 0);
        raf.second_ifh.position = 20;
        raf.read_sample_strip_tags();
        const RAF_DE& offset = *raf.strip_ifd->entries["StripOffsets"];
        const RAF_DE& length = *raf.strip_ifd->entries["StripByteCounts"];
        EXPECT_EQ(offset.value, 1020U) << "made absolute";
        EXPECT_EQ(offset.position, 0U);
        EXPECT_EQ(length.value, 2000U);
        EXPECT_EQ(length.position, 113U);
        EXPECT_EQ(raf.strip_ifd->entries.size(), 2U);
    }
}

TEST_F(RafTools, SamplesStripTagsMayHaveAnyType) {
    RAF raf =
        open(with(with(blank_bytes(400), 100, entry(0xF007, 0xA5A5, 1000)), 150, entry(0xF008, 3, 2000)));
    raf.read_sample_strip_tags();
    EXPECT_EQ(raf.strip_ifd->entries["StripOffsets"]->value, 1000U);
    EXPECT_EQ(raf.strip_ifd->entries["StripByteCounts"]->value, 2000U);
}

TEST_F(RafTools, SamplesStripTagsAreSearchedForFromTheSecondHeaderOn) {
    RAF raf = open(with(with(blank_bytes(400), 101, entry(0xF007, 4, 1000)), 50, entry(0xF008, 4, 2000)));
    raf.second_ifh.position = 50;
    EXPECT_NO_THROW(raf.read_sample_strip_tags()) << "each search begins at the header";
    raf.second_ifh.position = 51;
    EXPECT_THROW(raf.read_sample_strip_tags(), NotFoundException);
    EXPECT_EQ(raf.strip_ifd->entries.size(), 1U) << "the offset was read before";
    raf.second_ifh.position = 102;
    EXPECT_EQ(message_of<NotFoundException>([&] { raf.read_sample_strip_tags(); }), "not found order tag");
}

TEST_F(RafTools, SamplesStripEntryCutByTheEndIsOutOfRange) {
    Bytes file = with(with(blank_bytes(24), 0, entry(0xF007, 4, 1000)), 12, entry(0xF008, 4, 2000));
    EXPECT_NO_THROW(open(file).read_sample_strip_tags());
    file.pop_back();
    EXPECT_THROW(open(file).read_sample_strip_tags(), OutRangeException);
    file.resize(14); // The tag alone.
    EXPECT_THROW(open(file).read_sample_strip_tags(), OutRangeException);
    file.resize(13);
    EXPECT_THROW(open(file).read_sample_strip_tags(), NotFoundException);
    file.resize(11); // Now the first entry is cut.
    EXPECT_THROW(open(file).read_sample_strip_tags(), OutRangeException);
}

// The thumbnail.

/// A file of 64 bytes with the given thumbnail tags.
class RafThumbnail : public RafTools {
  protected:
    RAF with_thumbnail(std::uint32_t offset, std::uint32_t size) {
        RAF raf = open(blank_bytes(64));
        raf.thumb_ifd = std::make_shared<RAF_IFD>();
        for (const auto& [name, value] : {std::pair{"thumb_offset", offset}, {"thumb_size", size}}) {
            raf.thumb_ifd->entries.emplace(name, std::make_shared<RAF_DE>());
            raf.thumb_ifd->entries[name]->value = value;
        }
        return raf;
    }
};

TEST_F(RafThumbnail, IsZeroedInTheFile) {
    {
        RAF raf = with_thumbnail(10, 20);
        raf.clear_thumb();
    }
    EXPECT_EQ(test::read_file(path), test::zeroed(blank_bytes(64), 10, 30));
}

TEST_F(RafThumbnail, SizeOfZeroWritesNothingWhereverItIs) {
    for (const std::uint32_t offset : {0U, 63U, 64U, 0xFFFFFFFFU}) {
        RAF raf = with_thumbnail(offset, 0);
        EXPECT_NO_THROW(raf.clear_thumb());
        EXPECT_EQ(contents(raf), blank_bytes(64));
    }
}

TEST_F(RafThumbnail, EndOnTheLastByteOfTheFileIsZeroedAndThenOutOfRange) {
    RAF passes = with_thumbnail(43, 20);
    EXPECT_NO_THROW(passes.clear_thumb());
    EXPECT_EQ(contents(passes), test::zeroed(blank_bytes(64), 43, 63));
    RAF fails = with_thumbnail(44, 20);
    EXPECT_THROW(fails.clear_thumb(), OutRangeException);
    EXPECT_EQ(contents(fails), test::zeroed(blank_bytes(64), 44, 64));
    RAF longer = with_thumbnail(44, 0xFFFFFFFF);
    EXPECT_THROW(longer.clear_thumb(), OutRangeException);
    EXPECT_EQ(contents(longer), test::zeroed(blank_bytes(64), 44, 64));
}

TEST_F(RafThumbnail, OffsetPastTheEndIsOutOfRangeBeforeAnythingIsWritten) {
    for (const std::uint32_t offset : {64U, 65U, 0xFFFFFFFFU}) {
        RAF raf = with_thumbnail(offset, 1);
        EXPECT_THROW(raf.clear_thumb(), OutRangeException);
        EXPECT_EQ(contents(raf), blank_bytes(64));
    }
}

// High jpg data.

const Bytes kXpacketEnd{'x', 'p', 'a', 'c', 'k', 'e', 't', ' ', 'e', 'n', 'd'};
const Bytes kDht{0xFF, 0xC4};
const Bytes kZeroAndDht{0x00, 0xFF, 0xC4};
const Bytes kDqt{0xFF, 0xDB};

class RafHighJpg : public RafTools {
  protected:
    /// What the file holds after the blanking.
    Bytes blanked(const Bytes& bytes) {
        RAF raf = open(bytes);
        raf.deal_high_jpg_data();
        return contents(raf);
    }
};

TEST_F(RafHighJpg, SpanAfterTheXmpPacketIsZeroed) {
    Bytes file = with(with(with(blank_bytes(400), 100, kXpacketEnd), 150, kDht), 200, kDqt);
    file = with(with(with(file, 20, kZeroAndDht), 50, kDqt), 300, kDht); // These stay.
    file = with(file, 350, kDqt);
    EXPECT_EQ(blanked(file), test::zeroed(file, 150, 202));
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

TEST_F(RafHighJpg, FirstPacketInTheFileDecides) {
    Bytes file = with(with(with(blank_bytes(400), 100, kXpacketEnd), 120, kDht), 130, kDqt);
    file = with(with(with(file, 200, kXpacketEnd), 220, kDht), 230, kDqt);
    EXPECT_EQ(blanked(file), test::zeroed(file, 120, 132));
}

TEST_F(RafHighJpg, SpanHasNoLimitInLength) {
    const Bytes file = with(with(with(blank_bytes(200000), 0, kXpacketEnd), 11, kDht), 199000, kDqt);
    EXPECT_EQ(blanked(file), test::zeroed(file, 11, 199002));
}

TEST_F(RafHighJpg, WithoutAPacketTheDhtAfterAZeroIsTakenWithItsZero) {
    Bytes file = with(with(with(blank_bytes(400), 100, kZeroAndDht), 200, kDqt), 50, kDht);
    file = with(file, 60, kDqt); // A span before it stays.
    EXPECT_EQ(blanked(file), test::zeroed(file, 100, 202));
    EXPECT_THAT(test::logged_lines(), ElementsAre(kNoXpacket));
}

TEST_F(RafHighJpg, PacketWithNoDhtAfterItCountsAsNone) {
    const Bytes file = with(with(with(blank_bytes(400), 300, kXpacketEnd), 100, kZeroAndDht), 350, kDqt);
    EXPECT_EQ(blanked(file), test::zeroed(file, 100, 352));
    EXPECT_THAT(test::logged_lines(), ElementsAre(kNoXpacket));
}

TEST_F(RafHighJpg, PacketWithNoDqtAfterItsDhtCountsAsNone) {
    const Bytes file =
        with(with(with(with(blank_bytes(400), 300, kXpacketEnd), 350, kDht), 100, kZeroAndDht), 200, kDqt);
    EXPECT_EQ(blanked(file), test::zeroed(file, 100, 202)) << "the first way changed nothing";
    EXPECT_THAT(test::logged_lines(), ElementsAre(kNoXpacket));
}

TEST_F(RafHighJpg, WithNeitherTheFirstDhtInTheFileIsTaken) {
    const Bytes file = with(with(with(blank_bytes(400), 100, kDht), 200, kDqt), 150, kDht);
    EXPECT_EQ(blanked(file), test::zeroed(file, 100, 202));
    EXPECT_THAT(test::logged_lines(), ElementsAre(kNoXpacket, kNoSpecialFlag));
}

TEST_F(RafHighJpg, DhtAfterAZeroWithNoDqtAfterItLeavesTheFirstDht) {
    const Bytes file = with(with(with(blank_bytes(400), 100, kDht), 200, kDqt), 300, kZeroAndDht);
    EXPECT_EQ(blanked(file), test::zeroed(file, 100, 202));
    EXPECT_THAT(test::logged_lines(), ElementsAre(kNoXpacket, kNoSpecialFlag));
}

TEST_F(RafHighJpg, NoDhtAtAllIsNotFoundAndNothingIsChanged) {
    for (const Bytes& file : {with(blank_bytes(400), 200, kDqt),                     // No DHT.
                              with(blank_bytes(400), 200, kDht),                     // No DQT.
                              with(with(blank_bytes(400), 100, kDqt), 200, kDht)}) { // DQT before it.
        test::reset_stand_ins();
        RAF raf = open(file);
        EXPECT_EQ(message_of<NotFoundException>([&] { raf.deal_high_jpg_data(); }), "not found order tag");
        EXPECT_EQ(contents(raf), file);
        EXPECT_THAT(test::logged_lines(), ElementsAre(kNoXpacket, kNoSpecialFlag));
    }
}

TEST_F(RafHighJpg, SpanThatEndsTheFileIsZeroedAndThenOutOfRangeInEveryWay) {
    const Bytes packet = with(with(blank_bytes(400), 100, kXpacketEnd), 150, kDht);
    for (const Bytes& start :
         {packet, with(blank_bytes(400), 149, kZeroAndDht), with(blank_bytes(400), 150, kDht)}) {
        const std::size_t first = start[149] == 0 ? 149 : 150;
        const Bytes passes = with(start, 397, kDqt);
        EXPECT_EQ(blanked(passes), test::zeroed(passes, first, 399));

        const Bytes file = with(start, 398, kDqt);
        RAF raf = open(file);
        EXPECT_THROW(raf.deal_high_jpg_data(), OutRangeException);
        EXPECT_EQ(contents(raf), test::zeroed(file, first, 400));
    }
}

TEST_F(RafHighJpg, BlanksTheHuffmanTablesOfAPhotographsPreview) {
    const RafPhoto photo;
    EXPECT_EQ(blanked(photo.bytes), test::zeroed(photo.bytes, photo.dht, photo.dqt + 2));
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

// TIFF headers of the damaged file.

TEST_F(RafTools, FindsEveryPlaceThatLooksLikeAHeader) {
    Bytes file = with(with(blank_bytes(400), 13, RAF::kLittleEndianHeader), 21, RAF::kLittleEndianHeader);
    file = with(with(file, 100, RAF::kBigEndianHeader), 392, RAF::kLittleEndianHeader); // The last 8 bytes.
    RAF little = open(file);
    little.find_tiff_offsets();
    EXPECT_THAT(little.tiff_offsets, ElementsAre(13, 21, 392));
    RAF big = open_big(file);
    big.find_tiff_offsets();
    EXPECT_THAT(big.tiff_offsets, ElementsAre(100));
}

TEST_F(RafTools, NoHeaderAtAllIsNotFound) {
    for (const Bytes& file : {blank_bytes(400), blank_bytes(1), test::part(RAF::kLittleEndianHeader, 0, 7)}) {
        RAF raf = open(file);
        EXPECT_EQ(message_of<NotFoundException>([&] { raf.find_tiff_offsets(); }), "No tiff offsets found");
        EXPECT_THAT(raf.tiff_offsets, IsEmpty());
    }
}

// Strip tags of the damaged file.

class RafDamagedTags : public RafTools {
  protected:
    /// The value of StripOffsets in a file with the tag at 300 and these headers.
    std::uint32_t offset_with(const std::vector<std::uint32_t>& headers) {
        RAF raf = open(with(blank_bytes(400), 300, entry(0xF007, 4, 1000)));
        raf.tiff_offsets = headers;
        raf.read_damaged_strip_tags();
        return raf.strip_ifd->entries["StripOffsets"]->value;
    }
};

TEST_F(RafDamagedTags, AreReadInEitherByteOrder) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        RAF raf = open(with(with(blank_bytes(400), 101, entry(0xF007, 4, 1000, order)), 113,
                            entry(0xF008, 4, 2000, order)));
        raf.set_big_endian(order == ByteOrder::kBig ? 1 : 0);
        raf.read_damaged_strip_tags();
        EXPECT_EQ(raf.strip_ifd->entries["StripOffsets"]->value, 1000U);
        EXPECT_EQ(raf.strip_ifd->entries["StripOffsets"]->position, 0U);
        EXPECT_EQ(raf.strip_ifd->entries["StripByteCounts"]->value, 2000U);
        EXPECT_EQ(raf.strip_ifd->entries["StripByteCounts"]->position, 0U);
        EXPECT_EQ(raf.strip_ifd->entries["StripOffsets"]->tag, order == ByteOrder::kBig ? 0xF007 : 0x07F0);
    }
}

TEST_F(RafDamagedTags, HeaderAtMost136BytesBeforeItOwnsTheOffset) {
    EXPECT_EQ(offset_with({300 - 100}), 1200U);
    EXPECT_EQ(offset_with({300 - 136}), 1164U);
    EXPECT_EQ(offset_with({300 - 137}), 1000U) << "taken as absolute";
    EXPECT_EQ(offset_with({0}), 1000U);
    EXPECT_EQ(offset_with({300}), 1300U) << "a distance of 0";
}

TEST_F(RafDamagedTags, HeaderAfterTheTagIsSkipped) {
    EXPECT_EQ(offset_with({301}), 1000U);
    EXPECT_EQ(offset_with({308, 380}), 1000U);
}

TEST_F(RafDamagedTags, FirstOfTwoHeadersInReachWins) {
    EXPECT_EQ(offset_with({200, 280}), 1200U);
    EXPECT_EQ(offset_with({10, 163, 164, 280, 350}), 1164U) << "the first that is in reach";
}

TEST_F(RafDamagedTags, BaseIsNeverAddedToTheLength) {
    RAF raf = open(with(with(blank_bytes(400), 300, entry(0xF007, 4, 1000)), 312, entry(0xF008, 4, 2000)));
    raf.tiff_offsets = {200};
    raf.read_damaged_strip_tags();
    EXPECT_EQ(raf.strip_ifd->entries["StripByteCounts"]->value, 2000U);
}

TEST_F(RafDamagedTags, SumWithTheHeaderWraps) {
    RAF raf = open(with(blank_bytes(400), 300, entry(0xF007, 4, 0xFFFFFFFF)));
    raf.tiff_offsets = {200};
    raf.read_damaged_strip_tags();
    EXPECT_EQ(raf.strip_ifd->entries["StripOffsets"]->value, 199U);
}

TEST_F(RafDamagedTags, AreSearchedForInTheWholeFileAndTheFirstWins) {
    Bytes file = with(with(blank_bytes(400), 300, entry(0xF007, 4, 1000)), 200, entry(0xF008, 4, 2000));
    file = with(with(file, 0, entry(0xF007, 4, 77)), 30, entry(0xF008, 4, 88));
    RAF raf = open(file);
    raf.read_damaged_strip_tags();
    EXPECT_EQ(raf.strip_ifd->entries["StripOffsets"]->value, 77U);
    EXPECT_EQ(raf.strip_ifd->entries["StripByteCounts"]->value, 88U);
}

TEST_F(RafDamagedTags, OffsetWithoutTypeLongIsNotFoundInTheWordsOfEachByteOrder) {
    RAF little = open(with(blank_bytes(400), 300, entry(0xF007, 3, 1000)));
    EXPECT_EQ(message_of<NotFoundException>([&] { little.read_damaged_strip_tags(); }),
              "StripOfffsets not found");
    EXPECT_TRUE(little.strip_ifd->entries.empty());
    RAF big = open_big(with(blank_bytes(400), 300, entry(0xF007, 4, 1000))); // Little-endian bytes.
    EXPECT_EQ(message_of<NotFoundException>([&] { big.read_damaged_strip_tags(); }),
              "StripOffsets not found");
}

TEST_F(RafDamagedTags, LengthThatIsNotFoundReachesToTheEndOfTheFile) {
    RAF little = open(with(with(blank_bytes(400), 300, entry(0xF007, 4, 100)), 312, entry(0xF008, 3, 2000)));
    little.tiff_offsets = {200};
    little.read_damaged_strip_tags();
    const RAF_DE& length = *little.strip_ifd->entries["StripByteCounts"];
    EXPECT_EQ(length.value, 400U - 300);
    EXPECT_EQ(length.position, 0U);
    EXPECT_EQ(length.tag, 0x08F0);
    EXPECT_EQ(length.type, 0x0400);
    EXPECT_EQ(length.count, 0x01000000U);

    RAF big = open_big(with(blank_bytes(400), 300, entry(0xF007, 4, 100, ByteOrder::kBig)));
    big.read_damaged_strip_tags();
    const RAF_DE& big_length = *big.strip_ifd->entries["StripByteCounts"];
    EXPECT_EQ(big_length.value, 300U);
    EXPECT_EQ(big_length.tag, 0xF008);
    EXPECT_EQ(big_length.type, 4);
    EXPECT_EQ(big_length.count, 1U);
}

TEST_F(RafDamagedTags, LengthToTheEndFromAnOffsetPastItWraps) {
    const auto length_from = [&](std::uint32_t offset) {
        RAF raf = open(with(blank_bytes(400), 300, entry(0xF007, 4, offset)));
        raf.read_damaged_strip_tags();
        return raf.strip_ifd->entries["StripByteCounts"]->value;
    };
    EXPECT_EQ(length_from(399), 1U);
    EXPECT_EQ(length_from(400), 0U);
    EXPECT_EQ(length_from(401), 0xFFFFFFFFU);
}

TEST_F(RafDamagedTags, EntryThatIsFoundButCutIsOutOfRange) {
    for (const std::uint16_t tag : {std::uint16_t{0xF007}, std::uint16_t{0xF008}}) {
        const Bytes file = with(with(blank_bytes(100), 10, entry(0xF007, 4, 50)), 88, entry(tag, 4, 20));
        const Bytes start = tag == 0xF007 ? with(file, 10, Bytes(12)) : file;
        EXPECT_NO_THROW(open(start).read_damaged_strip_tags()) << "whole";
        for (const std::size_t size : {99U, 92U}) {
            EXPECT_THROW(open(test::part(start, 0, size)).read_damaged_strip_tags(), OutRangeException)
                << size;
        }
    }
    // A length that lacks one byte is no match and is ignored; an offset that does is not found.
    const Bytes whole = with(with(blank_bytes(100), 10, entry(0xF007, 4, 50)), 88, entry(0xF008, 4, 20));
    RAF raf = open(test::part(whole, 0, 91));
    EXPECT_NO_THROW(raf.read_damaged_strip_tags());
    EXPECT_EQ(raf.strip_ifd->entries["StripByteCounts"]->value, 91U - 50);
    EXPECT_THROW(open(test::part(whole, 0, 13)).read_damaged_strip_tags(), NotFoundException);
}

// The merge.

class RafMerge : public RafTools {
  protected:
    /// A file of 64 bytes with raw data at the offset and of the length given, whose StripByteCounts entry
    /// is at 20.
    std::shared_ptr<RAF> with_raw_data(const Bytes& bytes, std::uint32_t offset, std::uint32_t length,
                                       std::uint8_t big_endian) {
        auto raf = std::make_shared<RAF>(open(bytes));
        raf->set_big_endian(big_endian);
        raf->strip_ifd = std::make_shared<RAF_IFD>();
        for (const auto& [name, value] : {std::pair{"StripOffsets", offset}, {"StripByteCounts", length}}) {
            raf->strip_ifd->entries.emplace(name, std::make_shared<RAF_DE>());
            raf->strip_ifd->entries[name]->value = value;
        }
        raf->strip_ifd->entries["StripByteCounts"]->position = 20;
        return raf;
    }

    const Bytes sample_bytes = test::noise(64, 1);
    const Bytes damaged_bytes = test::noise(0x400, 2);
};

TEST_F(RafMerge, LengthIsPatchedLittleEndianAndTheRawDataFollowTheSamplesHead) {
    const auto sample = with_raw_data(sample_bytes, 40, 9, 0);
    const auto damaged = with_raw_data(damaged_bytes, 5, 0x0102, 0);
    test::write_file(folder / "output", {9, 9, 9}); // Is replaced.
    RAF::merge_data(damaged, sample, folder / "output");
    EXPECT_EQ(test::read_file(folder / "output"),
              test::joined(test::part(with(sample_bytes, 28, {0x02, 0x01, 0x00, 0x00}), 0, 40),
                           test::part(damaged_bytes, 5, 5 + 0x0102)));
    EXPECT_TRUE(sample->mapped_file->bytes().empty()) << "the sample is closed";
    EXPECT_EQ(damaged->mapped_file->bytes().size(), damaged_bytes.size());
}

TEST_F(RafMerge, BigEndianFileHasALittleEndianFieldAndTheCopyTakesTheSwappedLength) {
    const auto sample = with_raw_data(sample_bytes, 40, 9, 1);
    const auto damaged = with_raw_data(damaged_bytes, 5, 0x02010000, 1); // Swapped: 0x0102.
    RAF::merge_data(damaged, sample, folder / "output");
    EXPECT_EQ(test::read_file(folder / "output"),
              test::joined(test::part(with(sample_bytes, 28, {0x00, 0x00, 0x01, 0x02}), 0, 40),
                           test::part(damaged_bytes, 5, 5 + 0x0102)));
}

TEST_F(RafMerge, CursorsAreNotMoved) {
    const auto sample = with_raw_data(sample_bytes, 40, 9, 0);
    const auto damaged = with_raw_data(damaged_bytes, 5, 7, 0);
    sample->mapped_file->seek(3);
    damaged->mapped_file->seek(4);
    RAF::merge_data(damaged, sample, folder / "output");
    EXPECT_EQ(sample->mapped_file->position(), 3U);
    EXPECT_EQ(damaged->mapped_file->position(), 4U);
}

TEST_F(RafMerge, LengthFieldOnTheSamplesLastFourBytesIsWritten) {
    // Through the cursor this would be out of range.
    const auto sample = with_raw_data(sample_bytes, 64, 9, 0);
    sample->strip_ifd->entries["StripByteCounts"]->position = 52;
    const auto damaged = with_raw_data(damaged_bytes, 5, 7, 0);
    RAF::merge_data(damaged, sample, folder / "output");
    EXPECT_EQ(test::read_file(folder / "output"),
              test::joined(with(sample_bytes, 60, {7, 0, 0, 0}), test::part(damaged_bytes, 5, 12)));
}

TEST_F(RafMerge, OutputThatDoesNotOpenIsVisitingBeyondWithoutAMessage) {
    const auto sample = with_raw_data(sample_bytes, 40, 9, 0);
    const auto damaged = with_raw_data(damaged_bytes, 5, 7, 0);
    EXPECT_EQ(message_of<VisitingBeyondException>(
                  [&] { RAF::merge_data(damaged, sample, folder / "missing" / "output"); }),
              "");
    EXPECT_EQ(contents(*sample), sample_bytes) << "nothing is patched";
}

} // namespace
} // namespace plate_mend
