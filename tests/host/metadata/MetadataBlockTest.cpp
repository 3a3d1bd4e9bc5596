#include "metadata/MetadataBlock.h"

#include "support/ArwPhoto.h"
#include "support/Exif.h"
#include "support/Jpeg.h"
#include "support/Scene.h"
#include "support/TiffTags.h"
#include "support/TiffWriter.h"

#include <gmock/gmock.h>

#include <chrono>
#include <limits>

namespace test {
namespace {

using namespace plate_mend::host;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

ExifFields all_fields(ByteOrder order) {
    return {.order = order,
            .fraction = "25",
            .zone = "+02:00",
            .artist = "Ä. Photographer",
            .copyright = "(c) her",
            .lens = "DT 50mm F1.8",
            .serial = "0123456",
            .orientation = 6,
            .has_place = true};
}

/// The only block of a file; none if there are several.
MetadataBlock only_block(const Bytes& file) {
    const auto blocks = find_metadata(file);
    EXPECT_THAT(blocks, SizeIs(1));
    return blocks.size() == 1 ? blocks.front() : MetadataBlock{};
}

CameraFacts facts_of(const ExifFields& fields) {
    return only_block(exif_structure(fields)).facts;
}

TEST(MetadataBlock, HasAllFactsInEitherByteOrder) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        const MetadataBlock block = only_block(exif_structure(all_fields(order)));
        EXPECT_THAT(block.facts,
                    UnorderedElementsAre(::testing::Pair(CameraFact::kTaken, "2026-05-01T12:30:00.25+02:00"),
                                         ::testing::Pair(CameraFact::kExposureTime, "1/250"),
                                         ::testing::Pair(CameraFact::kAperture, "56/10"),
                                         ::testing::Pair(CameraFact::kIso, "400"),
                                         ::testing::Pair(CameraFact::kFocalLength, "50/1"),
                                         ::testing::Pair(CameraFact::kLens, "DT 50mm F1.8"),
                                         ::testing::Pair(CameraFact::kMake, "SONY"),
                                         ::testing::Pair(CameraFact::kModel, "DSLR-A330"),
                                         ::testing::Pair(CameraFact::kSerialNumber, "0123456"),
                                         ::testing::Pair(CameraFact::kOrientation, "6"),
                                         ::testing::Pair(CameraFact::kArtist, "Ä. Photographer"),
                                         ::testing::Pair(CameraFact::kCopyright, "(c) her"),
                                         ::testing::Pair(CameraFact::kLatitude, "48,12.500000N"),
                                         ::testing::Pair(CameraFact::kLongitude, "16,22.250000W"),
                                         ::testing::Pair(CameraFact::kAltitude, "-12/1"),
                                         ::testing::Pair(CameraFact::kGpsTime, "2026-05-01T10:30:00Z")));
        EXPECT_EQ(std::string(block.source), "head");
        EXPECT_EQ(block.offset, 0U);
    }
}

TEST(MetadataBlock, OfAPreviewNamesTheJpegAroundIt) {
    const Bytes jpeg = with_exif(make_preview(Scene(1), 32, 24), {});
    const MetadataBlock block = only_block(joined(Bytes(1001, 7), jpeg));
    EXPECT_EQ(std::string(block.source), "preview");
    EXPECT_EQ(block.offset, 1001U + 12);
    EXPECT_THAT(block.jpegs, ElementsAre(1001U));
    EXPECT_THAT(block.facts, Contains(::testing::Pair(CameraFact::kTaken, "2026-05-01T12:30:00")));
}

/// | size | name | TIFF structure |
Bytes box(std::string_view name, const Bytes& content) {
    Bytes bytes(8);
    put_u32(bytes, 0, static_cast<std::uint32_t>(8 + content.size()), ByteOrder::kBig);
    put_text(bytes, 4, name);
    return joined(bytes, content);
}

TEST(MetadataBlock, OfBoxesSideBySideIsOne) {
    const Bytes one = joined(box("CMT1", exif_structure({.taken = "", .artist = "A"})),
                             box("CMT2", exif_structure({.taken = "2026:05:01 12:30:00", .make = ""})));
    const MetadataBlock block = only_block(one);
    EXPECT_EQ(std::string(block.source), "boxes");
    EXPECT_THAT(block.facts, Contains(::testing::Pair(CameraFact::kArtist, "A")));
    EXPECT_THAT(block.facts, Contains(Key(CameraFact::kTaken)));
    const Bytes apart = joined(joined(part(one, 0, one.size()), Bytes(4)), one);
    EXPECT_THAT(find_metadata(apart), SizeIs(2));
}

/// Cameras do not clear what follows a structure in its box.
TEST(MetadataBlock, OfABoxIsNotWhatIsLeftOverInIt) {
    const Bytes own = exif_structure({.taken = "2026:05:01 12:30:00"});
    const Bytes old = exif_structure({.taken = "2026:04:01 12:30:00", .artist = "B"});
    for (const std::size_t kept : {old.size(), std::size_t{100}, std::size_t{60}}) {
        const Bytes boxes =
            joined(box("CMT1", joined(exif_structure({.taken = "", .artist = "A"}), part(old, 0, kept))),
                   box("CMT2", own));
        const MetadataBlock block = only_block(boxes);
        EXPECT_EQ(block.facts.at(CameraFact::kArtist), "A");
        EXPECT_EQ(block.facts.at(CameraFact::kTaken), "2026-05-01T12:30:00");
    }
}

/// A directory that was overwritten in part; zeros are what is left of bad sectors.
TEST(MetadataBlock, OfADirectoryWithStrangeBytesIsLeftOut) {
    const Bytes whole = exif_structure({});
    EXPECT_THAT(only_block(zeroed(whole, 10 + 12, 10 + 24)).facts, Not(Contains(Key(CameraFact::kModel))));
    const Bytes strange = with(whole, 10 + 12, Bytes(12, 0xEE));
    EXPECT_THAT(find_metadata(joined(Bytes(100), strange)), IsEmpty());
    EXPECT_EQ(std::string(only_block(strange).source), "directory") << "in its place, its date is enough";
}

TEST(MetadataBlock, KnowsWhereTheTablesHaveImages) {
    const ArwPhoto photo;
    const MetadataBlock block = only_block(photo.bytes);
    EXPECT_THAT(block.images, Contains(std::uint64_t{photo.image_offset}));
    EXPECT_THAT(block.jpegs,
                ElementsAre(photo.preview_offsets[0], photo.preview_offsets[1], photo.preview_offsets[2]));
    const MetadataBlock displaced = only_block(joined(Bytes(777), photo.bytes));
    EXPECT_THAT(displaced.images, Contains(std::uint64_t{777} + photo.image_offset));
}

TEST(MetadataBlock, OfALostHeaderIsFoundByItsDate) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        const Bytes whole = exif_structure(all_fields(order));
        const MetadataBlock block = only_block(zeroed(whole, 0, 10)); // With the count of IFD 0.
        EXPECT_EQ(std::string(block.source), "directory");
        EXPECT_EQ(block.facts, only_block(whole).facts);
        EXPECT_THAT(find_metadata(joined(Bytes(100), zeroed(whole, 0, 10))), IsEmpty()) << "it is displaced";
    }
}

TEST(MetadataBlock, HasOnlyWhatACameraWrites) {
    for (const char* date : {"2026:02:30 12:30:00", "2026:13:01 12:30:00", "2026:05:01 24:00:00",
                             "1899:05:01 12:30:00", "0000:00:00 00:00:00", "2026-05-01 12:30:00"}) {
        EXPECT_THAT(facts_of({.taken = date}), Not(Contains(Key(CameraFact::kTaken)))) << date;
    }
    EXPECT_THAT(facts_of({.zone = "+99:00"}),
                Contains(::testing::Pair(CameraFact::kTaken, "2026-05-01T12:30:00")));
    EXPECT_THAT(facts_of({.fraction = "x5"}),
                Contains(::testing::Pair(CameraFact::kTaken, "2026-05-01T12:30:00")));
    EXPECT_THAT(facts_of({.make = "SO\x01NY"}), Not(Contains(Key(CameraFact::kMake))));
    EXPECT_THAT(facts_of({.artist = "\xC4. Photographer"}), Not(Contains(Key(CameraFact::kArtist))))
        << "not UTF-8";
    EXPECT_THAT(facts_of({.orientation = 9}), Not(Contains(Key(CameraFact::kOrientation))));
    EXPECT_THAT(facts_of({.exposure = 0}), Not(Contains(Key(CameraFact::kExposureTime))));
    EXPECT_THAT(facts_of({.aperture = 0}), Not(Contains(Key(CameraFact::kAperture))));
    EXPECT_THAT(facts_of({.iso = 65535}), Not(Contains(Key(CameraFact::kIso))));
}

/// IFD 0 and an Exif directory, with a date each, or none.
Bytes dated_structure(const std::string& changed, const std::string& original, const std::string& digitized,
                      bool is_dng) {
    TiffWriter tiff(ByteOrder::kLittle);
    tiff.write_header();
    std::vector<TiffEntry> entries{tiff.ascii(kMake, "SONY"), tiff.ascii(kDateTime, changed),
                                   tiff.longs(kExifIfd, {kLater})};
    if (is_dng) {
        entries.push_back(tiff.byte(kDngVersion, {1, 4, 0, 0}));
    }
    const TiffDirectory ifd0 = tiff.write_directory(entries);
    tiff.set_value(ifd0, kExifIfd,
                   tiff.write_directory({tiff.ascii(36867, original), tiff.ascii(36868, digitized)}).offset);
    return tiff.bytes();
}

TEST(MetadataBlock, DateIsThatOfTheExposure) {
    const std::string one = "2026:05:01 12:30:00";
    const std::string other = "2026:06:01 12:30:00";
    const auto date = [](const Bytes& structure) {
        const CameraFacts facts = only_block(structure).facts;
        return facts.contains(CameraFact::kTaken) ? facts.at(CameraFact::kTaken) : "";
    };
    EXPECT_EQ(date(dated_structure(other, one, one, false)), "2026-05-01T12:30:00");
    EXPECT_EQ(date(dated_structure(other, "", one, false)), "2026-05-01T12:30:00");
    EXPECT_EQ(date(dated_structure(other, "", "", false)), "2026-06-01T12:30:00");
    EXPECT_EQ(date(dated_structure(other, "", "", true)), "") << "a program may have written the file then";
    EXPECT_EQ(date(dated_structure(other, one, other, false)), "") << "one of them is damaged";
}

TEST(MetadataBlock, MainFactsAreThoseOfTheHead) {
    ArwPhoto photo({.preview = with_exif(make_preview(Scene(1), 64, 48), {.iso = 1600})});
    EXPECT_EQ(main_facts(photo.bytes).at(CameraFact::kTaken), "2026-11-21T17:40:00");
    EXPECT_THAT(main_facts(photo.bytes), Not(Contains(Key(CameraFact::kIso))));
    EXPECT_THAT(main_facts(Bytes(3000, 7)), IsEmpty());
}

// Hostile bytes.

TEST(MetadataBlock, NoDirectoryOfACircleIsReadTwice) {
    TiffWriter tiff(ByteOrder::kBig);
    tiff.write_header();
    const TiffDirectory one = tiff.write_directory(
        {tiff.ascii(kMake, "SONY"), tiff.longs(kStripOffsets, {4711}), tiff.longs(kSubIfds, {8, 8}),
         tiff.longs(kExifIfd, {8}), tiff.longs(kGpsInfo, {8})});
    tiff.set_next(one, one.offset);
    const MetadataBlock block = only_block(tiff.bytes());
    EXPECT_THAT(block.facts, ElementsAre(::testing::Pair(CameraFact::kMake, "SONY")));
    EXPECT_THAT(block.images, ElementsAre(4711U));
}

TEST(MetadataBlock, AnyByteMayBeWrong) {
    const Bytes whole = joined(exif_structure(all_fields(ByteOrder::kLittle)),
                               with_exif(make_preview(Scene(1), 32, 24), all_fields(ByteOrder::kBig)));
    const std::size_t end = 2 * exif_structure(all_fields(ByteOrder::kBig)).size();
    for (std::size_t at = 0; at < end; ++at) {
        for (const unsigned char value : Bytes{0x00, 0x01, 0x7F, 0x80, 0xFF}) {
            Bytes wrong = whole;
            wrong[at] = value;
            EXPECT_LE(find_metadata(wrong).size(), 4U) << at;
        }
        static_cast<void>(find_metadata(part(whole, 0, at)));
    }
}

TEST(MetadataBlock, TimeIsLinearInFilesFullOfHeaders) {
    const auto seconds_for = [](std::size_t count) {
        const Bytes one = exif_structure({});
        Bytes file;
        for (std::size_t nth = 0; nth < count; ++nth) {
            file.insert(file.end(), one.begin(), one.end());
        }
        double least = std::numeric_limits<double>::max();
        for (int round = 0; round < 3; ++round) {
            const auto start = std::chrono::steady_clock::now();
            static_cast<void>(find_metadata(file));
            least = std::min(least,
                             std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        return least;
    };
    EXPECT_LT(seconds_for(16000), 40 * seconds_for(1000) + 0.1);
    // Directories with as many strips as fit, each of which overlaps the next.
    Bytes strips(std::size_t{1} << 20U);
    const Bytes entry = {0x11, 0x01, 4, 0, 0xFF, 0xFF, 0xFF, 0, 'I', 'I', '*', 0};
    for (std::size_t at = 0; at + entry.size() <= strips.size(); at += entry.size()) {
        std::copy(entry.begin(), entry.end(), strips.begin() + static_cast<std::ptrdiff_t>(at));
    }
    const auto start = std::chrono::steady_clock::now();
    static_cast<void>(find_metadata(strips));
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 5);
}

} // namespace
} // namespace test
