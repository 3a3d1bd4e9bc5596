#include "Consistency.h"
#include "container/Describe.h"
#include "support/LosslessJpeg.h"
#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

// Directories written by hand: what is legal and rare, and what is neither.

namespace raw_mend {
namespace {

using test::Bytes;
using test::TiffDirectory;
using test::TiffEntry;
using test::TiffWriter;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::uint16_t kIfdType = 13;

/// The entries of a raw image of 16 by 4 pixels without its pieces.
std::vector<TiffEntry> raw_entries(const TiffWriter& tiff) {
    return {tiff.longs(test::kNewSubfileType, {0}), tiff.longs(test::kImageWidth, {16}),
            tiff.longs(test::kImageLength, {4}),    tiff.shorts(test::kBitsPerSample, {16}),
            tiff.shorts(test::kCompression, {1}),   tiff.shorts(test::kPhotometric, {test::kCfa})};
}

std::vector<TiffEntry> with(std::vector<TiffEntry> entries, const std::vector<TiffEntry>& more) {
    entries.insert(entries.end(), more.begin(), more.end());
    return entries;
}

/// A file with one directory, filled up to 1024 bytes.
Bytes one_directory(const TiffWriter& writer, const std::vector<TiffEntry>& entries) {
    TiffWriter tiff = writer;
    tiff.write_header();
    tiff.write_directory(entries);
    tiff.pad_to(1024);
    return tiff.bytes();
}

class TiffInBothOrders : public ::testing::TestWithParam<test::ByteOrder> {
  protected:
    const TiffWriter tiff_{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(Orders, TiffInBothOrders,
                         ::testing::Values(test::ByteOrder::kLittle, test::ByteOrder::kBig));

TEST_P(TiffInBothOrders, ReadsOffsetsAndLengthsOfEitherTypeInTheEntryAndElsewhere) {
    const auto rows = tiff_.shorts(test::kRowsPerStrip, {2});
    struct Case {
        TiffEntry offsets;
        TiffEntry lengths;
        unsigned offset_size;
        unsigned length_size;
    };
    const std::vector<Case> cases{
        {tiff_.longs(test::kStripOffsets, {512, 600}), tiff_.longs(test::kStripByteCounts, {64, 60}), 4, 4},
        {tiff_.shorts(test::kStripOffsets, {512, 600}), tiff_.shorts(test::kStripByteCounts, {64, 60}), 2, 2},
        {tiff_.longs(test::kStripOffsets, {512, 600}), tiff_.shorts(test::kStripByteCounts, {64, 60}), 4, 2}};
    for (const Case& item : cases) {
        const Bytes bytes =
            one_directory(tiff_, with(raw_entries(tiff_), {item.offsets, rows, item.lengths}));
        const Description description = described(bytes);
        EXPECT_THAT(description.not_understood, IsEmpty());
        ASSERT_EQ(description.raw.pieces.size(), 2U);
        EXPECT_EQ(description.raw.pieces[0].data, (Extent{512, 64}));
        EXPECT_EQ(description.raw.pieces[1].data, (Extent{600, 60}));
        EXPECT_EQ(description.raw.pieces[1].offset_field->size, item.offset_size);
        EXPECT_EQ(description.raw.pieces[1].length_field->size, item.length_size);
        EXPECT_EQ(description.raw.frame.piece_height, 2U);
    }
}

TEST_P(TiffInBothOrders, FollowsSubIfdsOfTypeIfdAndChainsOfThem) {
    TiffWriter tiff = tiff_;
    tiff.write_header();
    TiffEntry pointer = tiff.longs(test::kSubIfds, {0});
    pointer.type = kIfdType;
    const TiffDirectory first = tiff.write_directory({tiff.ascii(test::kMake, "  Maker "), pointer});
    const TiffDirectory sub = tiff.write_directory({tiff.longs(test::kNewSubfileType, {1})});
    const TiffDirectory raw =
        tiff.write_directory(with(raw_entries(tiff), {tiff.longs(test::kStripOffsets, {512}),
                                                      tiff.longs(test::kStripByteCounts, {128})}));
    tiff.set_value(first, test::kSubIfds, sub.offset);
    tiff.set_next(sub, raw.offset);
    tiff.pad_to(1024);
    const Description description = described(tiff.bytes());
    ASSERT_EQ(description.raw.pieces.size(), 1U);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{512, 128}));
    EXPECT_EQ(description.raw.pieces[0].length_field->at, raw.value(test::kStripByteCounts));
    EXPECT_EQ(description.make, "Maker");
}

TEST_P(TiffInBothOrders, TablesAreTheHeaderTheDirectoriesAndTheirValues) {
    const Bytes bytes = one_directory(
        tiff_, {tiff_.ascii(test::kMake, "Maker and sons"), tiff_.shorts(test::kBitsPerSample, {8, 8, 8})});
    const std::uint64_t directory = 2 + 2 * 12 + 4;
    // The make is 15 bytes, and the next value begins on a word boundary.
    EXPECT_EQ(described(bytes).tables,
              (std::vector<Extent>{{0, 8 + directory + 15}, {8 + directory + 16, 6}}));
}

TEST_P(TiffInBothOrders, ReadsEachDirectoryOfACycleOnce) {
    TiffWriter tiff = tiff_;
    tiff.write_header();
    const TiffDirectory first = tiff.write_directory(with(
        raw_entries(tiff), {tiff.longs(test::kStripOffsets, {512}), tiff.longs(test::kStripByteCounts, {128}),
                            tiff.longs(test::kSubIfds, {8})}));
    tiff.set_next(first, first.offset);
    tiff.pad_to(1024);
    const Description description = described(tiff.bytes());
    EXPECT_EQ(description.raw.pieces.size(), 1U);
    EXPECT_THAT(description.pictures, IsEmpty());
    EXPECT_THAT(description.not_understood,
                Contains("More than one table leads to the directory at offset 8."));
}

TEST_P(TiffInBothOrders, DoesNotReadADirectoryInsideAnother) {
    TiffWriter tiff = tiff_;
    tiff.write_header();
    // The value of the last entry reads as a directory: one entry, of type SHORT.
    const TiffDirectory first =
        tiff.write_directory({tiff.longs(test::kSubIfds, {0}), tiff.shorts(test::kPhotometric, {1, 262}),
                              tiff.shorts(3, {1, 1}), tiff.shorts(test::kCompression, {1})});
    tiff.set_value(first, test::kSubIfds, first.value(test::kPhotometric));
    tiff.pad_to(1024);
    Bytes bytes = tiff.bytes();
    EXPECT_THAT(described(bytes).not_understood,
                Contains(HasSubstr("overlaps another one and was not read")));
}

TEST_P(TiffInBothOrders, ReportsPointersThatLeadOutsideAndToWhatIsNoDirectory) {
    Bytes bytes =
        one_directory(tiff_, with(raw_entries(tiff_), {tiff_.longs(test::kSubIfds, {0xFFFFFFFF, 600}),
                                                       tiff_.longs(test::kExifIfd, {700})}));
    test::put_u16(bytes, 700, 3, GetParam()); // Three entries of type 0xFFFF.
    std::fill(bytes.begin() + 702, bytes.begin() + 740, 0xFF);
    const Description description = described(bytes);
    EXPECT_THAT(description.not_understood,
                Contains("The directory at offset 4294967295 is outside the file."));
    EXPECT_THAT(description.not_understood,
                Contains("There is no directory at offset 600, where a table says that there is one."));
    EXPECT_THAT(description.not_understood,
                Contains("There is no directory at offset 700, where a table says that there is one."));
    EXPECT_THAT(description.not_understood, Contains("No directory in the file describes a raw image."));
}

TEST_P(TiffInBothOrders, SurvivesCountsOfFourThousandMillion) {
    TiffWriter tiff = tiff_;
    tiff.write_header();
    std::vector<TiffEntry> entries = raw_entries(tiff);
    for (const std::uint16_t tag :
         {test::kStripOffsets, test::kStripByteCounts, test::kSubIfds, test::kMake, test::kExifIfd}) {
        for (const std::uint16_t type : {std::uint16_t{2}, std::uint16_t{3}, std::uint16_t{4}}) {
            entries.push_back({tag, type, 0xFFFFFFFF, Bytes(4, 1)});
        }
    }
    tiff.write_directory(entries);
    tiff.pad_to(1024);
    const Description description = described(tiff.bytes());
    EXPECT_THAT(description.raw.pieces, IsEmpty());
    EXPECT_THAT(description.not_understood,
                Contains("Values of directory entries that are outside the file: 15."));
}

TEST_P(TiffInBothOrders, ReadsTheEntriesOfATruncatedDirectoryThatAreThere) {
    const auto strips = std::vector<TiffEntry>{tiff_.longs(test::kStripOffsets, {512}),
                                               tiff_.longs(test::kStripByteCounts, {128})};
    Bytes bytes = one_directory(tiff_, with(raw_entries(tiff_), strips));
    bytes.resize(8 + 2 + 8 * 12); // Without the next link.
    const Description whole = described(bytes);
    ASSERT_EQ(whole.raw.pieces.size(), 1U);
    EXPECT_EQ(whole.raw.pieces[0].data, (Extent{512, 128}));
    bytes.pop_back();
    const Description cut = described(bytes);
    EXPECT_THAT(cut.not_understood,
                Contains("The directory at offset 8 is truncated: 7 of 8 entries are in the file."));
    ASSERT_EQ(cut.raw.pieces.size(), 0U); // Its length is 0: that of no byte in the file.
}

TEST_P(TiffInBothOrders, AStripWithoutALengthExtendsToTheEndOfTheFile) {
    const Bytes bytes =
        one_directory(tiff_, with(raw_entries(tiff_), {tiff_.longs(test::kStripOffsets, {512})}));
    const Description description = described(bytes);
    ASSERT_EQ(description.raw.pieces.size(), 1U);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{512, 512}));
    EXPECT_TRUE(description.raw.pieces[0].offset_field);
    EXPECT_FALSE(description.raw.pieces[0].length_field);
}

TEST_P(TiffInBothOrders, TakesTheShorterOfTwoTablesThatDisagree) {
    const Bytes bytes =
        one_directory(tiff_, with(raw_entries(tiff_), {tiff_.longs(test::kStripOffsets, {512, 576, 640}),
                                                       tiff_.shorts(test::kRowsPerStrip, {2}),
                                                       tiff_.longs(test::kStripByteCounts, {64, 64})}));
    const Description description = described(bytes);
    EXPECT_EQ(description.raw.pieces.size(), 2U);
    EXPECT_THAT(description.not_understood,
                Contains("The directory at offset 8 has 3 offsets of strips or tiles and 2 lengths."));
}

TEST_P(TiffInBothOrders, ReportsStripsThatOverlapEachOtherAndTheTables) {
    const Bytes bytes =
        one_directory(tiff_, with(raw_entries(tiff_), {tiff_.longs(test::kStripOffsets, {512, 540, 4}),
                                                       tiff_.longs(test::kStripByteCounts, {64, 64, 20}),
                                                       tiff_.longs(test::kRowsPerStrip, {1})}));
    const Description description = described(bytes);
    EXPECT_THAT(description.not_understood, Contains("Strips or tiles of the raw image overlap."));
    EXPECT_THAT(description.not_understood, Contains("The raw image overlaps tables of the file."));
    EXPECT_THAT(description.not_understood,
                Contains("The raw image has 3 strips or tiles; its size needs 4."));
}

TEST_P(TiffInBothOrders, PrefersTheImageWithMorePixelsThatHoldsASensorsData) {
    TiffWriter tiff = tiff_;
    tiff.write_header();
    const auto image = [&](std::uint32_t width, std::uint16_t photometric, std::uint32_t offset) {
        return tiff.write_directory(
            {tiff.longs(test::kImageWidth, {width}), tiff.longs(test::kImageLength, {2}),
             tiff.shorts(test::kBitsPerSample, {8}), tiff.shorts(test::kCompression, {1}),
             tiff.shorts(test::kPhotometric, {photometric}), tiff.longs(test::kStripOffsets, {offset}),
             tiff.longs(test::kStripByteCounts, {2 * width})});
    };
    const TiffDirectory first = image(100, 2, 600);
    const TiffDirectory second = image(8, test::kCfa, 900);
    const TiffDirectory third = image(16, 34892, 920);
    tiff.set_next(first, second.offset);
    tiff.set_next(second, third.offset);
    tiff.pad_to(1024);
    const Description description = described(tiff.bytes());
    EXPECT_EQ(description.raw.frame.width, 16U);
    ASSERT_EQ(description.pictures.size(), 2U);
    EXPECT_EQ(description.pictures[0].frame.width, 100U);
    EXPECT_EQ(description.pictures[1].frame.width, 8U);
}

TEST_P(TiffInBothOrders, OfImagesOfOneSizeTakesTheOneThatIsNotReduced) {
    for (const std::uint32_t reduced : {0U, 1U}) {
        TiffWriter tiff = tiff_;
        tiff.write_header();
        const auto image = [&](std::uint32_t type, std::uint32_t offset, std::uint32_t length) {
            auto entries = raw_entries(tiff);
            entries[0] = tiff.longs(test::kNewSubfileType, {type});
            return tiff.write_directory(with(entries, {tiff.longs(test::kStripOffsets, {offset}),
                                                       tiff.longs(test::kStripByteCounts, {length})}));
        };
        const TiffDirectory first = image(reduced, 512, reduced != 0 ? 200 : 128);
        const TiffDirectory second = image(1 - reduced, 800, reduced != 0 ? 128 : 200);
        tiff.set_next(first, second.offset);
        tiff.pad_to(1024);
        EXPECT_EQ(described(tiff.bytes()).raw.pieces[0].data.offset, reduced != 0 ? 800U : 512U);
    }
}

TEST_P(TiffInBothOrders, ExpectsOneSetOfStripsPerPlane) {
    for (const std::size_t strips : {std::size_t{2}, std::size_t{6}, std::size_t{4}}) {
        const auto entries =
            with(raw_entries(tiff_),
                 {tiff_.shorts(test::kSamplesPerPixel, {3}), tiff_.shorts(test::kRowsPerStrip, {2}),
                  tiff_.longs(test::kStripOffsets, {500, 520, 540, 560, 580, 600}),
                  tiff_.longs(test::kStripByteCounts, std::vector<std::uint32_t>(6, 20))});
        auto fewer = entries;
        for (const std::size_t entry : {std::size_t{8}, std::size_t{9}}) {
            fewer[entry].count = static_cast<std::uint32_t>(strips);
            fewer[entry].values.resize(4 * strips);
        }
        const Description description = described(one_directory(tiff_, fewer));
        EXPECT_EQ(description.raw.pieces.size(), strips);
        EXPECT_EQ(description.not_understood.empty(), strips != 4);
    }
}

TEST_P(TiffInBothOrders, NamesAPictureOnceThatTwoPairsOfEntriesName) {
    const Bytes jpeg = test::lossless_jpeg(std::vector<std::uint16_t>(64), 16, 4, 8);
    const auto size = static_cast<std::uint32_t>(jpeg.size());
    Bytes bytes = one_directory(
        tiff_, {tiff_.longs(test::kImageWidth, {16}), tiff_.longs(test::kImageLength, {4}),
                tiff_.shorts(test::kBitsPerSample, {8}), tiff_.shorts(test::kCompression, {6}),
                tiff_.longs(test::kStripOffsets, {512}), tiff_.longs(test::kStripByteCounts, {size}),
                tiff_.longs(test::kJpegOffset, {512}), tiff_.longs(test::kJpegLength, {size})});
    test::put_bytes(bytes, 512, jpeg);
    EXPECT_EQ(described(bytes).pictures.size(), 1U);
    test::put_u32(bytes, 8 + 2 + 7 * 12 + 8, size - 1, GetParam());
    EXPECT_EQ(described(bytes).pictures.size(), 2U);
}

TEST_P(TiffInBothOrders, WithoutASensorsDataTakesOneSamplePerPixel) {
    auto entries = raw_entries(tiff_);
    entries.pop_back(); // The photometric interpretation.
    const Bytes bytes = one_directory(tiff_, with(entries, {tiff_.longs(test::kStripOffsets, {512}),
                                                            tiff_.longs(test::kStripByteCounts, {128})}));
    const Description description = described(bytes);
    EXPECT_EQ(description.raw.pieces.size(), 1U);
    EXPECT_THAT(description.not_understood, Contains(HasSubstr("taken for it, having one sample per pixel")));
}

TEST_P(TiffInBothOrders, NamesTheCodings) {
    struct Case {
        std::uint16_t compression;
        std::uint32_t length;
        Coding coding;
    };
    // The image has 16 by 4 pixels of 16 bits.
    const std::vector<Case> cases{
        {1, 128, Coding::kUncompressed},     {6, 100, Coding::kLosslessJpeg}, {7, 100, Coding::kLosslessJpeg},
        {8, 100, Coding::kDeflate},          {32946, 100, Coding::kDeflate},  {32767, 64, Coding::kFixedRate},
        {32767, 128, Coding::kUncompressed}, {32767, 70, Coding::kOther},     {34713, 90, Coding::kHuffman},
        {34713, 128, Coding::kUncompressed}, {34892, 50, Coding::kLossyJpeg}, {65535, 90, Coding::kOther},
        {32770, 90, Coding::kOther},         {52546, 90, Coding::kOther}};
    for (const Case& item : cases) {
        auto entries = raw_entries(tiff_);
        entries[4] = tiff_.shorts(test::kCompression, {item.compression});
        const Bytes bytes =
            one_directory(tiff_, with(entries, {tiff_.longs(test::kStripOffsets, {512}),
                                                tiff_.longs(test::kStripByteCounts, {item.length})}));
        const Description description = described(bytes);
        EXPECT_EQ(description.raw.frame.coding, item.coding) << item.compression << " " << item.length;
        EXPECT_EQ(description.raw.frame.compression, item.compression);
    }
}

TEST_P(TiffInBothOrders, DistinguishesLosslessFromLossyByTheJpegItself) {
    const Bytes jpeg = test::lossless_jpeg(std::vector<std::uint16_t>(64), 16, 4, 14);
    auto entries = raw_entries(tiff_);
    entries[4] = tiff_.shorts(test::kCompression, {7});
    Bytes bytes = one_directory(
        tiff_,
        with(entries, {tiff_.longs(test::kStripOffsets, {512}),
                       tiff_.longs(test::kStripByteCounts, {static_cast<std::uint32_t>(jpeg.size())})}));
    test::put_bytes(bytes, 512, jpeg);
    EXPECT_EQ(described(bytes).raw.frame.coding, Coding::kLosslessJpeg);
    const std::string marker = "\xFF\xC3";
    const auto frame =
        std::search(bytes.begin() + 512, bytes.end(), marker.begin(), marker.end(),
                    [](unsigned char a, char b) { return a == static_cast<unsigned char>(b); });
    ASSERT_NE(frame, bytes.end());
    frame[1] = 0xC0;
    EXPECT_EQ(described(bytes).raw.frame.coding, Coding::kLossyJpeg);
}

TEST(Tiff, IsNotFoundInOtherFiles) {
    EXPECT_FALSE(describe({}));
    for (const char* text :
         {"I", "II", "II*", "IIXX....", "MMRO....", "\xFF\xD8\xFF\xE1....", "plain text here"}) {
        const std::string_view view = text;
        EXPECT_FALSE(describe(Bytes(view.begin(), view.end()))) << text;
    }
}

TEST(Tiff, OrfIsCompressedWhereItsDataAreShort) {
    for (const bool is_short : {false, true}) {
        for (const char* magic : {"IIRO", "IIRS", "MMOR"}) {
            const TiffWriter tiff(magic[0] == 'I' ? test::ByteOrder::kLittle : test::ByteOrder::kBig);
            auto entries = raw_entries(tiff);
            entries[5] = tiff.shorts(test::kPhotometric, {1});
            Bytes bytes = one_directory(
                tiff, with(entries, {tiff.longs(test::kStripOffsets, {512}),
                                     tiff.longs(test::kStripByteCounts, {is_short ? 95U : 96U})}));
            test::put_text(bytes, 0, magic);
            const Description description = described(bytes);
            EXPECT_EQ(description.raw.frame.coding, is_short ? Coding::kRun : Coding::kUncompressed) << magic;
        }
    }
}

TEST(Tiff, Rw2DataExtendToTheEndWhereNoLengthIsStated) {
    const TiffWriter tiff(test::ByteOrder::kLittle);
    for (const std::uint32_t length : {0U, 300U}) {
        TiffEntry jpeg = tiff.undefined(0x2E, Bytes(40, 0xEE));
        Bytes bytes =
            one_directory(tiff, {tiff.shorts(0x02, {16}), tiff.shorts(0x03, {4}), tiff.shorts(0x0A, {12}),
                                 tiff.shorts(0x0B, {34316}), jpeg, tiff.ascii(test::kMake, "Panasonic"),
                                 tiff.longs(test::kStripOffsets, {0xFFFFFFFF}),
                                 tiff.longs(test::kStripByteCounts, {length}), tiff.longs(0x118, {512})});
        test::put_bytes(bytes, 2, {0x55, 0});
        const Description description = described(bytes);
        ASSERT_EQ(description.raw.pieces.size(), 1U);
        const Piece& piece = description.raw.pieces[0];
        EXPECT_EQ(piece.data, (Extent{512, length == 0 ? 512 : length}));
        EXPECT_EQ(piece.offset_field->at, 8U + 2 + 8 * 12 + 8);
        EXPECT_EQ(piece.length_field.has_value(), length != 0);
        EXPECT_EQ(description.raw.frame, (Frame{.width = 16,
                                                .height = 4,
                                                .bits = 12,
                                                .compression = 34316,
                                                .piece_width = 16,
                                                .piece_height = 4}));
        ASSERT_EQ(description.pictures.size(), 1U); // The value of 0x2E.
        EXPECT_EQ(description.pictures[0].pieces[0].data.length, 40U);
        EXPECT_THAT(description.not_understood, IsEmpty());
    }
}

TEST(Tiff, Cr2RawImageIsReachedThroughTheHeaderWhereTheChainIsBroken) {
    TiffWriter tiff(test::ByteOrder::kLittle);
    tiff.write_header(16);
    tiff.append({'C', 'R', 2, 0});
    const std::uint32_t link = tiff.append(Bytes(4));
    tiff.write_directory({tiff.ascii(test::kMake, "Canon")});
    const TiffDirectory raw = tiff.write_directory(
        {tiff.shorts(test::kCompression, {6}), tiff.longs(test::kStripOffsets, {512}),
         tiff.longs(test::kStripByteCounts, {100}), tiff.shorts(test::kSlices, {2, 10, 12})});
    tiff.patch_u32(link, raw.offset);
    tiff.pad_to(1024);
    const Description description = described(tiff.bytes());
    ASSERT_EQ(description.raw.pieces.size(), 1U);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{512, 100}));
    EXPECT_EQ(description.raw.slices, (std::vector<std::uint32_t>{10, 10, 12}));
    EXPECT_EQ(description.tables[0].offset, 0U);
    EXPECT_GE(description.tables[0].length, 16U);
}

TEST(Tiff, Cr2WithThreeComponentsHasThreeSamplesPerPixel) {
    for (const unsigned components : {1U, 2U, 3U, 4U}) {
        const Bytes jpeg = test::lossless_jpeg(std::vector<std::uint16_t>(std::size_t{64} * components), 16,
                                               4, 14, components);
        TiffWriter tiff(test::ByteOrder::kLittle);
        tiff.write_header(16);
        tiff.append({'C', 'R', 2, 0, 16, 0, 0, 0});
        tiff.write_directory({tiff.shorts(test::kCompression, {6}), tiff.longs(test::kStripOffsets, {512}),
                              tiff.longs(test::kStripByteCounts, {static_cast<std::uint32_t>(jpeg.size())})});
        tiff.pad_to(512);
        tiff.append(jpeg);
        const Frame frame = described(tiff.bytes()).raw.frame;
        EXPECT_EQ(frame.width, components == 3 ? 16U : 16 * components);
        EXPECT_EQ(frame.samples, components == 3 ? 3U : 1U);
        EXPECT_EQ(frame.bits, 14U);
    }
}

TEST(Tiff, ManySlicesAreNotRead) {
    TiffWriter tiff(test::ByteOrder::kLittle);
    tiff.write_header(16);
    tiff.append({'C', 'R', 2, 0, 16, 0, 0, 0});
    tiff.write_directory({tiff.shorts(test::kCompression, {6}), tiff.longs(test::kStripOffsets, {512}),
                          tiff.longs(test::kStripByteCounts, {100}),
                          tiff.shorts(test::kSlices, {65535, 1, 1})});
    tiff.pad_to(1024);
    EXPECT_THAT(described(tiff.bytes()).raw.slices, IsEmpty());
}

} // namespace
} // namespace raw_mend
