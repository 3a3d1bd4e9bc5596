#include "Consistency.h"
#include "container/Describe.h"
#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// What maker notes name: previews, curves, the size of the sensor.

namespace raw_mend {
namespace {

using test::Bytes;
using test::TiffDirectory;
using test::TiffEntry;
using test::TiffWriter;
using ::testing::IsEmpty;

constexpr std::uint16_t kMakerNote = 37500;
constexpr std::uint32_t kData = 3072; ///< Where the raw data are.

/// A photograph with a raw image of this compression, and these maker notes. They are at kNote.
constexpr std::uint32_t kNote = 512;

Bytes photo_with_notes(test::ByteOrder order, const std::string& make, std::uint16_t compression,
                       const Bytes& notes) {
    TiffWriter tiff(order);
    tiff.write_header();
    const TiffDirectory first = tiff.write_directory(
        {tiff.longs(test::kImageWidth, {16}), tiff.longs(test::kImageLength, {4}),
         tiff.shorts(test::kBitsPerSample, {12}), tiff.shorts(test::kCompression, {compression}),
         tiff.shorts(test::kPhotometric, {test::kCfa}), tiff.ascii(test::kMake, make),
         tiff.longs(test::kStripOffsets, {kData}), tiff.longs(test::kStripByteCounts, {90}),
         tiff.longs(test::kExifIfd, {0})});
    const TiffDirectory exif = tiff.write_directory({tiff.undefined(kMakerNote, Bytes(5))});
    tiff.set_value(first, test::kExifIfd, exif.offset);
    tiff.pad_to(kNote);
    tiff.append(notes);
    tiff.set_value(exif, kMakerNote, kNote);
    tiff.patch_u32(exif.entry(kMakerNote) + 4, static_cast<std::uint32_t>(notes.size()));
    tiff.pad_to(4096);
    return tiff.bytes();
}

/// A TIFF writer whose bytes begin with so many that are not a header.
TiffWriter writer_after(test::ByteOrder order, const Bytes& start) {
    TiffWriter writer(order);
    writer.append(start);
    return writer;
}

Bytes text(std::string_view value) {
    return {value.begin(), value.end()};
}

TEST(MakerNotes, OfNikonHaveATiffStructureWithAPreviewAndACurve) {
    using namespace std::string_view_literals;
    for (const std::uint16_t tag : {std::uint16_t{0x96}, std::uint16_t{0x8C}}) {
        TiffWriter notes(test::ByteOrder::kBig);
        notes.write_header();
        const TiffDirectory directory =
            notes.write_directory({notes.longs(0x11, {0}), notes.undefined(tag, Bytes(46, 0x44))});
        const std::uint32_t preview = notes.offset();
        notes.set_value(directory, 0x11, preview);
        const TiffDirectory preview_ifd = notes.write_directory(
            {notes.longs(test::kJpegOffset, {300}), notes.longs(test::kJpegLength, {200})});
        notes.pad_to(600);
        Bytes all = test::joined(text("Nikon\0\x02\x10\0\0"sv), notes.bytes());
        const Bytes bytes = photo_with_notes(test::ByteOrder::kLittle, "NIKON", 34713, all);
        const Description description = understood(bytes);
        EXPECT_EQ(description.raw.frame.coding, Coding::kHuffman);
        ASSERT_EQ(description.pictures.size(), 1U);
        const Piece& piece = description.pictures[0].pieces[0];
        const std::uint64_t base = kNote + 10;
        EXPECT_EQ(piece.data, (Extent{base + 300, 200}));
        EXPECT_EQ(piece.offset_field,
                  (NumberField{base + preview_ifd.value(test::kJpegOffset), 4, ByteOrder::kBig, base}));
        const std::uint32_t curve = test::get_u32(notes.bytes(), directory.value(tag), test::ByteOrder::kBig);
        EXPECT_EQ(description.raw.parameters, (Extent{base + curve, 46}));
        // An uncompressed image needs none.
        EXPECT_FALSE(understood(photo_with_notes(test::ByteOrder::kLittle, "NIKON", 1, all)).raw.parameters);
    }
}

TEST(MakerNotes, OfOlympusNameAPreviewFromTheirOwnStart) {
    using namespace std::string_view_literals;
    TiffWriter notes = writer_after(test::ByteOrder::kLittle, text("OLYMPUS\0II\3\0"sv));
    const TiffDirectory directory = notes.write_directory({notes.longs(0x2020, {0})});
    const TiffDirectory settings =
        notes.write_directory({notes.longs(0x101, {400}), notes.longs(0x102, {77})});
    notes.set_value(directory, 0x2020, settings.offset);
    const Bytes bytes = photo_with_notes(test::ByteOrder::kBig, "OLYMPUS", 1, notes.bytes());
    const Description description = understood(bytes);
    ASSERT_EQ(description.pictures.size(), 1U);
    EXPECT_EQ(description.pictures[0].pieces[0].data, (Extent{kNote + 400, 77}));
    EXPECT_EQ(description.pictures[0].pieces[0].offset_field->base, kNote);
}

TEST(MakerNotes, OfOldOlympusNameAPreviewFromTheStartOfTheFile) {
    using namespace std::string_view_literals;
    TiffWriter notes = writer_after(test::ByteOrder::kLittle, text("OLYMP\0\1\0"sv));
    TiffEntry settings = notes.undefined(0x2020, Bytes(30));
    TiffWriter inner(test::ByteOrder::kLittle);
    inner.write_directory({inner.longs(0x101, {2048}), inner.longs(0x102, {77})});
    settings.values = inner.bytes();
    const TiffDirectory directory = notes.write_directory({settings});
    Bytes all = notes.bytes();
    const std::uint32_t at = test::get_u32(all, directory.value(0x2020), test::ByteOrder::kLittle);
    test::put_u32(all, directory.value(0x2020), kNote + at, test::ByteOrder::kLittle);
    const Bytes bytes = photo_with_notes(test::ByteOrder::kLittle, "OLYMPUS", 1, all);
    const Description description = understood(bytes);
    ASSERT_EQ(description.pictures.size(), 1U);
    EXPECT_EQ(description.pictures[0].pieces[0].data, (Extent{2048, 77}));
}

TEST(MakerNotes, OfPentaxNameAPreviewAndACurve) {
    using namespace std::string_view_literals;
    for (const std::string_view start : {"AOC\0MM"sv, "AOC\0  "sv}) {
        TiffWriter notes = writer_after(test::ByteOrder::kBig, text(start));
        const TiffDirectory directory = notes.write_directory(
            {notes.longs(3, {90}), notes.longs(4, {2048}), notes.undefined(0x220, Bytes(30, 1))});
        Bytes all = notes.bytes();
        const std::uint32_t at = test::get_u32(all, directory.value(0x220), test::ByteOrder::kBig);
        test::put_u32(all, directory.value(0x220), kNote + at, test::ByteOrder::kBig);
        const Bytes bytes = photo_with_notes(test::ByteOrder::kBig, "PENTAX", 65535, all);
        const Description description = understood(bytes);
        EXPECT_EQ(description.raw.frame.coding, Coding::kOther);
        EXPECT_EQ(description.raw.parameters, (Extent{kNote + at, 30}));
        ASSERT_EQ(description.pictures.size(), 1U);
        EXPECT_EQ(description.pictures[0].pieces[0].data, (Extent{2048, 90}));
    }
}

TEST(MakerNotes, OfCanonStateTheSizeOfARawImageThatHasNone) {
    TiffWriter tiff(test::ByteOrder::kLittle);
    tiff.write_header(16);
    tiff.append({'C', 'R', 2, 0});
    const std::uint32_t link = tiff.append(Bytes(4));
    const TiffDirectory first =
        tiff.write_directory({tiff.ascii(test::kMake, "Canon"), tiff.longs(test::kExifIfd, {0})});
    const TiffDirectory exif = tiff.write_directory({tiff.undefined(kMakerNote, Bytes(5))});
    tiff.set_value(first, test::kExifIfd, exif.offset);
    const std::uint32_t note = tiff.offset();
    tiff.write_directory({tiff.shorts(0xE0, {34, 3744, 2784, 1, 1})});
    tiff.set_value(exif, kMakerNote, note);
    tiff.patch_u32(exif.entry(kMakerNote) + 4, tiff.offset() - note);
    const TiffDirectory raw =
        tiff.write_directory({tiff.shorts(test::kCompression, {6}), tiff.longs(test::kStripOffsets, {600}),
                              tiff.longs(test::kStripByteCounts, {100})});
    tiff.patch_u32(link, raw.offset);
    tiff.pad_to(1024);
    const Frame frame = understood(tiff.bytes()).raw.frame;
    EXPECT_EQ(frame.width, 3744U);
    EXPECT_EQ(frame.height, 2784U);
    EXPECT_EQ(frame.piece_height, 2784U);
    EXPECT_EQ(frame.coding, Coding::kLosslessJpeg);
}

TEST(MakerNotes, ThatAreNoneAreNotReported) {
    using namespace std::string_view_literals;
    for (const std::string_view start : {""sv, "Nikon\0\2\x10\0\0MM\0*\xFF\xFF\xFF\xFF"sv,
                                         "OLYMPUS\0II\3\0\xFF\xFF"sv, "AOC\0II\xFF\xFF\xFF\xFF"sv}) {
        for (const char* make : {"Canon", "Other"}) {
            const Bytes notes = test::joined(text(start), Bytes(100, 0xF0));
            EXPECT_THAT(understood(photo_with_notes(test::ByteOrder::kLittle, make, 1, notes)).pictures,
                        IsEmpty());
        }
    }
}

} // namespace
} // namespace raw_mend
