#include "Consistency.h"
#include "container/Describe.h"
#include "support/Bytes.h"
#include "support/Cr3Photo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <string_view>

// Boxes written by hand, in orders and with tables that no builder has.

namespace raw_mend {
namespace {

using test::Bytes;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

Bytes u32(std::uint32_t value) {
    return test::u32_bytes({value}, test::ByteOrder::kBig);
}

Bytes u64(std::uint64_t value) {
    return test::u32_bytes({static_cast<std::uint32_t>(value >> 32U), static_cast<std::uint32_t>(value)},
                           test::ByteOrder::kBig);
}

Bytes all_of(const std::vector<Bytes>& parts) {
    return std::accumulate(parts.begin(), parts.end(), Bytes{},
                           [](const Bytes& a, const Bytes& b) { return test::joined(a, b); });
}

Bytes box(std::string_view type, const Bytes& payload) {
    return all_of(
        {u32(static_cast<std::uint32_t>(payload.size() + 8)), Bytes(type.begin(), type.end()), payload});
}

/// A box with its size in 64 bits.
Bytes large_box(std::string_view type, const Bytes& payload) {
    return all_of({u32(1), Bytes(type.begin(), type.end()), u64(payload.size() + 16), payload});
}

Bytes ftyp() {
    return box("ftyp", Bytes{'c', 'r', 'x', ' ', 0, 0, 0, 1, 'c', 'r', 'x', ' ', 'i', 's', 'o', 'm'});
}

Bytes filler(std::size_t size, std::string_view type = "free") {
    return box(type, Bytes(size, 0x5A));
}

/// A sample entry of a raw picture, or of a JPEG.
Bytes raw_entry(std::uint32_t width, std::uint32_t height) {
    const Bytes cmp1 =
        box("CMP1", all_of({Bytes(8), u32(width), u32(height), u32(width), u32(height), {14, 0x40}}));
    return box("CRAW", all_of({Bytes(82), filler(3), cmp1}));
}
Bytes jpeg_entry() {
    Bytes visual(82);
    test::put_u16(visual, 24, 64, test::ByteOrder::kBig);
    test::put_u16(visual, 26, 48, test::ByteOrder::kBig);
    return box("CRAW", all_of({visual, box("JPEG", Bytes(4))}));
}

Bytes stsd(const Bytes& entry) {
    return box("stsd", all_of({Bytes(4), u32(1), entry}));
}
Bytes stsz(const std::vector<std::uint32_t>& sizes) {
    return box("stsz", all_of({Bytes(8), u32(static_cast<std::uint32_t>(sizes.size())),
                               test::u32_bytes(sizes, test::ByteOrder::kBig)}));
}
Bytes fixed_stsz(std::uint32_t size, std::uint32_t count) {
    return box("stsz", all_of({Bytes(4), u32(size), u32(count)}));
}
Bytes stco(const std::vector<std::uint32_t>& offsets) {
    return box("stco", all_of({Bytes(4), u32(static_cast<std::uint32_t>(offsets.size())),
                               test::u32_bytes(offsets, test::ByteOrder::kBig)}));
}
Bytes co64(const std::vector<std::uint64_t>& offsets) {
    std::vector<Bytes> parts{Bytes(4), u32(static_cast<std::uint32_t>(offsets.size()))};
    for (const std::uint64_t offset : offsets) {
        parts.push_back(u64(offset));
    }
    return box("co64", all_of(parts));
}
/// First chunk and samples per chunk of each run.
Bytes stsc(const std::vector<std::array<std::uint32_t, 2>>& runs) {
    std::vector<Bytes> parts{Bytes(4), u32(static_cast<std::uint32_t>(runs.size()))};
    for (const auto& [first, samples] : runs) {
        parts.push_back(all_of({u32(first), u32(samples), u32(1)}));
    }
    return box("stsc", all_of(parts));
}

Bytes trak(const std::vector<Bytes>& stbl) {
    const Bytes minf = box("minf", all_of({filler(2, "skip"), box("stbl", all_of(stbl))}));
    return box("trak", box("mdia", all_of({filler(5), minf})));
}

Bytes file_with(const std::vector<Bytes>& tracks, std::size_t size = 4096) {
    Bytes bytes = all_of({ftyp(), box("moov", all_of(tracks))});
    EXPECT_LE(bytes.size() + 8, size);
    return all_of({bytes, box("mdat", Bytes(size - bytes.size() - 8, 0xAB))});
}

std::vector<Extent> extents(const Image& image) {
    std::vector<Extent> all;
    for (const Piece& piece : image.pieces) {
        all.push_back(piece.data);
    }
    return all;
}

TEST(Bmff, ReadsSizesThatVaryAndChunksOfEitherSize) {
    for (const bool is_64 : {false, true}) {
        const Bytes chunks = is_64 ? co64({2000, 3000}) : stco({2000, 3000});
        const Bytes bytes =
            file_with({trak({chunks, stsc({{{1, 2}}, {{2, 1}}}), filler(7), stsz({10, 20, 30}),
                             filler(1, "skip"), stsd(raw_entry(32, 16))})});
        const Description description = described(bytes);
        EXPECT_EQ(extents(description.raw), (std::vector<Extent>{{2000, 10}, {2010, 20}, {3000, 30}}));
        EXPECT_EQ(description.raw.pieces[1].offset_field->base, 10U);
        EXPECT_EQ(description.raw.pieces[1].offset_field->at, description.raw.pieces[0].offset_field->at);
        EXPECT_EQ(description.raw.pieces[2].offset_field->size, is_64 ? 8U : 4U);
        EXPECT_EQ(description.raw.frame.width, 32U);
        EXPECT_EQ(description.raw.frame.bits, 14U);
        EXPECT_THAT(description.not_understood, IsEmpty());
    }
}

TEST(Bmff, ReadsSamplesOfOneSize) {
    const Bytes bytes =
        file_with({trak({stsd(raw_entry(32, 16)), stsc({{{1, 2}}}), fixed_stsz(50, 3), stco({2000, 3000})})});
    const Description description = described(bytes);
    EXPECT_EQ(extents(description.raw), (std::vector<Extent>{{2000, 50}, {2050, 50}, {3000, 50}}));
    EXPECT_EQ(description.raw.pieces[2].length_field->at, description.raw.pieces[0].length_field->at);
    EXPECT_THAT(description.not_understood, IsEmpty());
}

TEST(Bmff, WithoutRunsEachChunkHasOneSample) {
    const Bytes bytes = file_with({trak({stsd(raw_entry(32, 16)), stsz({5, 6}), stco({2000, 3000})})});
    EXPECT_EQ(extents(described(bytes).raw), (std::vector<Extent>{{2000, 5}, {3000, 6}}));
}

TEST(Bmff, TakesTheRawTrackWithMorePixels) {
    const auto track = [](const Bytes& entry, std::uint32_t offset) {
        return trak({stsd(entry), stsz({100}), stco({offset})});
    };
    for (const bool is_first : {true, false}) {
        const Bytes large = track(raw_entry(64, 32), 2000);
        const Bytes small = track(raw_entry(32, 16), 2100);
        const Bytes bytes = file_with({track(jpeg_entry(), 2200), is_first ? large : small,
                                       is_first ? small : large, track(box("CTMD", Bytes(68)), 2300)});
        const Description description = described(bytes);
        EXPECT_EQ(extents(description.raw), (std::vector<Extent>{{2000, 100}}));
        ASSERT_EQ(description.pictures.size(), 2U);
        EXPECT_EQ(description.pictures[0].frame.coding, Coding::kLossyJpeg); // 64 by 48.
        EXPECT_EQ(description.pictures[1].frame.coding, Coding::kCrx);
        ASSERT_EQ(description.metadata.size(), 1U);
        EXPECT_EQ(description.metadata[0].data, (Extent{2300, 100}));
        EXPECT_EQ(description.enclosing.back().data.end(), bytes.size());
        EXPECT_THAT(description.not_understood, IsEmpty());
    }
}

TEST(Bmff, ReadsTopLevelBoxesInAnyOrderWithSizesOfEveryForm) {
    const auto moov = [](std::uint32_t offset) {
        return box("moov", all_of({filler(9), trak({stsd(raw_entry(32, 16)), stsz({30}), stco({offset})})}));
    };
    const std::size_t moov_size = moov(0).size();
    { // Filler first, the media data before "moov", which extends to the end of the file.
        Bytes last = moov(0);
        test::put_u32(last, 0, 0, test::ByteOrder::kBig);
        Bytes bytes =
            all_of({filler(20), ftyp(), large_box("mdat", Bytes(64, 0xAB)), filler(4, "skip"), last});
        test::put_u32(bytes, bytes.size() - 4, 28 + 24 + 16, test::ByteOrder::kBig);
        const Description description = described(bytes);
        EXPECT_EQ(extents(description.raw), (std::vector<Extent>{{68, 30}}));
        EXPECT_EQ(description.enclosing[0].length_field->size, 8U);
        EXPECT_THAT(description.not_understood, IsEmpty());
        EXPECT_EQ(description.tables, (std::vector<Extent>{{0, 68}, {132, bytes.size() - 132}}));
    }
    { // Media data that extend to the end.
        const auto at = static_cast<std::uint32_t>(24 + moov_size + 8);
        Bytes bytes = all_of({ftyp(), moov(at), box("mdat", Bytes(64, 0xAB))});
        test::put_u32(bytes, at - 8, 0, test::ByteOrder::kBig);
        const Description description = described(bytes);
        EXPECT_EQ(extents(description.raw), (std::vector<Extent>{{at, 30}}));
        EXPECT_EQ(description.enclosing.back().data, (Extent{at - 8, 72}));
        EXPECT_FALSE(description.enclosing.back().length_field);
    }
}

TEST(Bmff, ReportsTablesThatContradictOneAnother) {
    struct Case {
        Bytes track;
        std::size_t pieces;
        const char* sentence;
    };
    const Bytes entry = stsd(raw_entry(32, 16));
    const std::vector<Case> cases{
        {trak({entry, stsz({1, 2, 3}), stco({2000})}), 1, "Of 3 samples of a track, 1 are in chunks."},
        {trak({entry, stsz({1}), stsc({{{1, 0xFFFFFFFF}}}), stco({2000})}), 1, nullptr},
        {trak({entry, stsz({1, 1}), stsc({{{1, 0}}}), stco({2000})}), 0,
         "Of 2 samples of a track, 0 are in chunks."},
        {trak({entry, fixed_stsz(1, 0xFFFFFFFF), stsc({{{1, 0xFFFFFFFF}}}), stco({2000})}), 65536,
         "A track states more than 65536 samples."},
        {trak({entry, stsz({9}), co64({0xFFFFFFFFFFFFFFF0})}), 0,
         "Of 1 samples of a track, 0 are in chunks."},
        {trak({entry, stsz({9})}), 0, "A track lacks the tables of its samples."},
        {trak({stsz({9}), stco({2000})}), 0, "has no sample entry"},
    };
    for (const Case& item : cases) {
        const Bytes bytes = file_with({item.track}, std::size_t{1} << 21U);
        const Description description = described(bytes);
        EXPECT_EQ(description.raw.pieces.size(), item.pieces);
        if (item.sentence != nullptr) {
            EXPECT_THAT(description.not_understood, Contains(HasSubstr(item.sentence)));
        }
    }
}

TEST(Bmff, SurvivesTablesThatClaimFourThousandMillionEntries) {
    Bytes sizes = stsz({9});
    Bytes chunks = stco({2000});
    Bytes runs = stsc({{{1, 1}}});
    test::put_u32(sizes, 16, 0xFFFFFFFF, test::ByteOrder::kBig);
    test::put_u32(chunks, 12, 0xFFFFFFFF, test::ByteOrder::kBig);
    test::put_u32(runs, 12, 0xFFFFFFFF, test::ByteOrder::kBig);
    const Description description =
        described(file_with({trak({stsd(raw_entry(32, 16)), sizes, chunks, runs})}));
    EXPECT_EQ(extents(description.raw), (std::vector<Extent>{{2000, 9}}));
    EXPECT_THAT(description.not_understood, Contains(HasSubstr("has 1 of the 4294967295 entries")));
}

TEST(Bmff, ReportsWhatIsNoBoxAndWhatStatesTooMuch) {
    const Bytes good = file_with({trak({stsd(raw_entry(32, 16)), stsz({9}), stco({2000})})});
    const Description trailing = described(test::joined(good, Bytes(11)));
    EXPECT_EQ(extents(trailing.raw), (std::vector<Extent>{{2000, 9}})); // A size of 0: to the end.
    const Description garbage = described(test::joined(good, Bytes(11, 3)));
    EXPECT_EQ(extents(garbage.raw), (std::vector<Extent>{{2000, 9}}));
    EXPECT_THAT(garbage.not_understood, Contains(HasSubstr("states more bytes than there are")));
    const Description small = described(test::joined(good, all_of({u32(7), u32(0)})));
    EXPECT_THAT(small.not_understood, Contains("There is no box at offset " + std::to_string(good.size()) +
                                               ", where one should be."));
}

TEST(Bmff, SurvivesSizesOfSixtyFourBits) {
    const Bytes good = file_with({trak({stsd(raw_entry(32, 16)), stsz({9}), stco({2000})})});
    for (const std::uint64_t size :
         {std::uint64_t{0}, std::uint64_t{15}, std::uint64_t{1} << 63U, ~std::uint64_t{0}}) {
        const Bytes bytes = all_of({good, u32(1), Bytes{'m', 'd', 'a', 't'}, u64(size), Bytes(20)});
        const Description description = described(bytes);
        EXPECT_EQ(extents(description.raw), (std::vector<Extent>{{2000, 9}}));
        EXPECT_THAT(
            description.not_understood,
            Contains("There is no box at offset " + std::to_string(good.size()) + ", where one should be."));
    }
}

TEST(Bmff, ABoxWhoseHeaderIsCutByItsParentIsNone) {
    const Bytes cut = all_of({u32(1), Bytes{'u', 'u', 'i', 'd'}});
    const Bytes bytes = all_of({ftyp(), box("moov", cut), u64(64), Bytes(64)});
    EXPECT_THAT(described(bytes).not_understood,
                Contains("There is no box at offset 32, where one should be."));
}

/// "moov" with a box of Canon's.
Bytes canon_moov(const Bytes& inner) {
    constexpr std::array<unsigned char, 16> kCanon{0x85, 0xC0, 0xB6, 0x87, 0x82, 0x0F, 0x11, 0xE0,
                                                   0x81, 0x11, 0xF4, 0xCE, 0x46, 0x2B, 0x6A, 0x48};
    return box("moov", box("uuid", all_of({Bytes(kCanon.begin(), kCanon.end()), filler(3), inner})));
}

TEST(Bmff, APictureIsReadOnlyWithinItsBox) {
    struct Case {
        std::size_t payload;
        std::uint32_t length;
        bool is_there;
    };
    for (const Case& item : {Case{16 + 40, 40, true}, Case{16 + 40, 41, false}, Case{16 + 40, 0, false},
                             Case{16, 1, false}, Case{12, 1, false}, Case{4, 1, false}}) {
        Bytes payload(16 + 40);
        test::put_u32(payload, 8, item.length, test::ByteOrder::kBig);
        const Bytes bytes = all_of({ftyp(), canon_moov(box("THMB", test::part(payload, 0, item.payload))),
                                    test::part(payload, item.payload, payload.size())});
        const Description description = described(bytes);
        EXPECT_EQ(description.pictures.size(), item.is_there ? 1U : 0U) << item.payload << " " << item.length;
    }
}

TEST(Bmff, ReportsAnUnknownCodingAndAMissingRawImage) {
    const Description description =
        described(file_with({trak({stsd(box("CRAW", Bytes(90))), stsz({9}), stco({2000})})}));
    EXPECT_THAT(description.not_understood, Contains(HasSubstr("states a coding that is not known")));
    EXPECT_THAT(description.not_understood, Contains("No track holds a raw image."));
    ASSERT_EQ(description.pictures.size(), 1U);
    EXPECT_EQ(description.pictures[0].frame.coding, Coding::kOther);
}

TEST(Bmff, IsNotFoundWithoutABoxThatItNeeds) {
    EXPECT_FALSE(describe(all_of({filler(10), box("mdat", Bytes(10))})));
    EXPECT_FALSE(describe(box("junk", Bytes(10))));
    EXPECT_TRUE(describe(all_of({filler(10), box("moov", {})})));
}

TEST(Bmff, ReadsTheTableOfBoxesUpToItsEnd) {
    for (const std::uint32_t count : {3U, 0xFFFFFFFFU}) {
        const Bytes ctbo = box("CTBO", all_of({u32(count), u32(1), u64(100), u64(0), u32(2), u64(200),
                                               u64(30), u32(3), u64(~std::uint64_t{0}), u64(30)}));
        const Bytes after = all_of({u32(4), u64(300), u64(40)});
        const Description description = described(all_of({ftyp(), canon_moov(ctbo), after}));
        // "moov", the box in it, and one of the table's: none of no length or past all files.
        ASSERT_EQ(description.enclosing.size(), 3U);
        EXPECT_EQ(description.enclosing[2].data, (Extent{200, 30}));
        EXPECT_EQ(description.enclosing[2].offset_field->size, 8U);
    }
}

TEST(Bmff, TablesEndBeforeTheSamplesAndGoOnAfterThem) {
    const test::Cr3Photo photo({.gaps = {0, 5, 0, 0}, .after_tracks = 9});
    const Description description = described(photo.bytes);
    const std::size_t thumbnail_end = photo.thumbnail.offset + photo.thumbnail.size;
    const std::size_t preview_end = photo.preview.offset + photo.preview.size;
    EXPECT_EQ(description.tables, (std::vector<Extent>{{0, photo.thumbnail.offset},
                                                       {thumbnail_end, photo.preview.offset - thumbnail_end},
                                                       {preview_end, photo.payload - preview_end}}));
}

} // namespace
} // namespace raw_mend
