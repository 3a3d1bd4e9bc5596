#include "unit/CR3/Cr3ModelFixture.h"

#include "api/Exceptions.h"

#include <gmock/gmock.h>

#include <array>

namespace plate_mend {
namespace {

using test::joined;
using test::part;
using test::put_u32;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr ByteOrder kBig = ByteOrder::kBig;

using Cr3Model = Cr3ModelFixture;

// Opening.

TEST_F(Cr3Model, KnowsWhetherAnythingIsMapped) {
    EXPECT_FALSE(CR3(folder / "missing.cr3").mapped);
    EXPECT_FALSE(open({})->mapped);
    EXPECT_TRUE(open({0})->mapped);
}

TEST_F(Cr3Model, NothingMappedIsOutOfRangeAtTheFirstRead) {
    CR3 missing(folder / "missing.cr3");
    EXPECT_THROW(missing.parse_ftyp(), OutRangeException);
    EXPECT_THROW((void)missing.find_data({1}, 1), OutRangeException);
    EXPECT_THROW((void)missing.find_data({1}, 0), NotFoundException);
    EXPECT_THROW(open({})->parse_ftyp(), OutRangeException);
}

// Boxes.

TEST_F(Cr3Model, FileOfOneByteIsOutOfRangeAfterIt) {
    const auto cr3 = open({'f'});
    EXPECT_THROW(cr3->parse_ftyp(), OutRangeException);
    EXPECT_EQ(cr3->mmap->position(), 0U);
    EXPECT_NE(cr3->ftyp, nullptr) << "a box of the top level is attached at the start of its reader";
}

TEST_F(Cr3Model, FtypMayReachToTheEndOfTheFileAndNoFurther) {
    Bytes ftyp{0, 0, 0, 10, 'f', 't', 'y', 'p', 7, 8};
    const auto cr3 = open(ftyp);
    cr3->parse_ftyp();
    EXPECT_EQ(cr3->ftyp->get_size(), 10U);
    EXPECT_EQ(cr3->ftyp->get_type(), 0x66747970U);
    EXPECT_THAT(cr3->ftyp->get_data(), ElementsAre(7, 8));
    EXPECT_EQ(cr3->mmap->position(), 9U);
    ftyp[3] = 11;
    EXPECT_THROW(open(ftyp)->parse_ftyp(), OutRangeException);
    ftyp[3] = 8;
    const auto empty = open(ftyp);
    empty->parse_ftyp();
    EXPECT_THAT(empty->ftyp->get_data(), IsEmpty());
    EXPECT_EQ(empty->mmap->position(), 7U);
}

TEST_F(Cr3Model, ParseFtypBeginsAtTheStartWhereverTheCursorIs) {
    const auto cr3 = open({0, 0, 0, 8, 'f', 't', 'y', 'p'});
    cr3->mmap->seek(5);
    EXPECT_NO_THROW(cr3->parse_ftyp());
}

TEST_F(Cr3Model, ReadsEveryFieldOfAPhotograph) {
    const Cr3Photo photo(Cr3Photo::Options{.thumbnail = 9});
    const auto cr3 = read(photo.bytes);
    const auto u32 = [&](std::size_t offset) { return test::get_u32(photo.bytes, offset, kBig); };

    EXPECT_EQ(cr3->ftyp->get_data().size(), 16U);
    const auto moov = cr3->moov;
    EXPECT_EQ(moov->get_size(), u32(photo.at("moov")));
    EXPECT_EQ(moov->get_type(), four_cc("moov"));
    EXPECT_EQ(moov->get_uuid_size(), u32(photo.at("canon")));
    EXPECT_EQ(moov->get_uuid_type(), four_cc("uuid"));
    EXPECT_EQ(moov->get_uuid(), (BoxUuid{0x85C0B687, 0x820F11E0, 0x8111F4CE, 0x462B6A48}));
    EXPECT_EQ(moov->get_cncv()->get_size(), 38U);
    EXPECT_EQ(moov->get_cctp()->get_reserved(), 1U);
    EXPECT_EQ(moov->get_cctp()->get_line_count(), 3U);
    EXPECT_EQ(moov->get_cctp()->get_lines()[0].get_data()[7], 16);
    EXPECT_EQ(moov->get_cctp()->get_lines()[2].get_data()[15], 3);
    EXPECT_EQ(moov->get_ctbo()->get_data().size(), 84U);
    EXPECT_EQ(moov->get_free()->get_data().size(), 6U);
    EXPECT_EQ(moov->get_cmt1()->get_data().size(), 200U);
    EXPECT_EQ(moov->get_cmt2()->get_data().size(), 300U);
    EXPECT_EQ(moov->get_cmt3()->get_data().size(), 700U);
    EXPECT_EQ(moov->get_cmt4()->get_data().size(), 101U);

    const auto thmb = moov->get_thmb();
    EXPECT_THAT(thmb->get_header(), ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(thmb->get_value1(), 160);
    EXPECT_EQ(thmb->get_value2(), 120);
    EXPECT_EQ(thmb->get_jpeg_size(), 9U);
    EXPECT_EQ(thmb->get_value3(), 1);
    EXPECT_EQ(thmb->get_value4(), 0);
    EXPECT_EQ(thmb->get_jpeg(), part(photo.bytes, photo.thumbnail.offset, photo.thumbnail.offset + 9));
    EXPECT_EQ(thmb->get_trailer(), 0x54524C52U);
    EXPECT_EQ(moov->get_mvhd()->get_data().size(), 100U);

    const std::array<std::shared_ptr<TrakBox>, 4> traks{moov->get_trak1(), moov->get_trak2(),
                                                        moov->get_trak3(), moov->get_trak4()};
    for (unsigned n = 1; n <= 4; ++n) {
        const auto& trak = traks[n - 1];
        EXPECT_EQ(trak->get_tkhd()->get_data()[15], n);
        EXPECT_EQ(trak->get_mdia()->get_mdhd()->get_size(), 32U);
        EXPECT_EQ(trak->get_mdia()->get_hdlr()->get_size(), 33U);
        const auto minf = trak->get_mdia()->get_minf();
        EXPECT_EQ(minf->get_vmhd()->get_type(), n == 4 ? four_cc("nmhd") : four_cc("vmhd"));
        EXPECT_EQ(minf->get_dinf()->get_dref()->get_size(), 28U);
        const auto stbl = minf->get_stbl();
        EXPECT_THAT(stbl->get_stsd()->get_header(), ElementsAre(0, 0, 0, 0));
        EXPECT_EQ(stbl->get_stsd()->get_entry_count(), 1U);
        constexpr std::array<std::uint32_t, 4> kEntrySizes{112, 212, 228, 76};
        EXPECT_EQ(stbl->get_stsd()->get_sample_entry()->get_size(), kEntrySizes[n - 1]);
        EXPECT_EQ(stbl->get_stts()->get_size(), 24U);
        EXPECT_EQ(stbl->get_stsc()->get_size(), 28U);
        EXPECT_EQ(stbl->get_free1() == nullptr, n == 4);
        EXPECT_EQ(stbl->get_stsz()->get_header().size(), n == 4 ? 4U : 8U);
        EXPECT_EQ(stbl->get_stsz()->get_sample_count(), 1U);
        EXPECT_EQ(stbl->get_stsz()->get_entry_size(), photo.tracks[n - 1].size);
        EXPECT_NE(stbl->get_free2(), nullptr);
        EXPECT_EQ(stbl->get_co64()->get_version_flags(), 0U);
        EXPECT_EQ(stbl->get_co64()->get_entry_count(), 1U);
        EXPECT_EQ(stbl->get_co64()->get_chunk_offset_high(), 0U);
        EXPECT_EQ(stbl->get_co64()->get_chunk_offset_low(), photo.tracks[n - 1].offset);
    }

    EXPECT_EQ(cr3->xpacket->get_data(), part(photo.bytes, photo.at("xmp") + 24, photo.at("preview")));
    EXPECT_EQ(cr3->preview->get_word1(), 0U);
    EXPECT_EQ(cr3->preview->get_word2(), 1U);
    const auto prvw = cr3->preview->get_prvw();
    EXPECT_EQ(prvw->get_word1(), 0U);
    EXPECT_EQ(prvw->get_value1(), 1);
    EXPECT_EQ(prvw->get_value2(), 1620);
    EXPECT_EQ(prvw->get_value3(), 1080);
    EXPECT_EQ(prvw->get_value4(), 1);
    EXPECT_EQ(prvw->get_jpeg_size(), 601U);
    EXPECT_EQ(prvw->get_jpeg(), part(photo.bytes, photo.preview.offset, photo.preview.offset + 601));
    EXPECT_EQ(cr3->mdat->get_size(), 1U);
    EXPECT_EQ(cr3->mdat->get_large_size_high(), 0U);
    EXPECT_EQ(cr3->mdat->get_large_size_low(), u32(photo.at("mdat") + 12));
    EXPECT_EQ(cr3->mdat->get_track1_data(), photo.track(1));
    EXPECT_EQ(cr3->mdat->get_track2_data(), photo.track(2));
    EXPECT_EQ(cr3->mdat->get_track3_data(), photo.track(3));
    EXPECT_EQ(cr3->mdat->get_track4_data(), photo.track(4));
}

TEST_F(Cr3Model, WhatWasReadBeforeAFailureStaysAttached) {
    Cr3Photo photo;
    photo.bytes[photo.at("CMT2") + 4] = 'X';
    const auto cr3 = open(photo.bytes);
    EXPECT_THROW(read_all(*cr3), IllegalException);
    EXPECT_NE(cr3->moov->get_cmt1(), nullptr);
    EXPECT_EQ(cr3->moov->get_cmt2(), nullptr);
    EXPECT_EQ(cr3->xpacket, nullptr);
}

TEST_F(Cr3Model, BoxIsHandedToItsParentOnlyWhenItsChildrenAreRead) {
    Cr3Photo photo;
    photo.bytes[photo.at("trak2/co64") + 4] = 'X';
    const auto cr3 = open(photo.bytes);
    EXPECT_THROW(read_all(*cr3), IllegalException);
    EXPECT_NE(cr3->moov->get_trak1(), nullptr);
    EXPECT_EQ(cr3->moov->get_trak2(), nullptr);
}

TEST_F(Cr3Model, MetadataHeaderReadsInPlaceOfAVideoHeaderAndTheOtherWayRound) {
    Cr3Photo photo;
    test::put_text(photo.bytes, photo.at("trak1/vmhd") + 4, "nmhd");
    test::put_text(photo.bytes, photo.at("trak4/vmhd") + 4, "vmhd");
    const auto cr3 = read(photo.bytes);
    EXPECT_EQ(cr3->moov->get_trak1()->get_mdia()->get_minf()->get_vmhd()->get_type(), four_cc("nmhd"));
    EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Model, SampleEntryMayBeEitherKindInAnyTrack) {
    Cr3Photo photo;
    test::put_text(photo.bytes, photo.at("trak2/entry") + 4, "CTMD");
    test::put_text(photo.bytes, photo.at("trak4/entry") + 4, "CRAW");
    EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Model, OpeningOfMoovIsReadWhateverItSays) {
    Cr3Photo photo;
    for (std::size_t offset = 0; offset < 32; ++offset) {
        photo.bytes[photo.at("moov") + offset] = static_cast<unsigned char>(0xE0 + offset);
    }
    const auto cr3 = read(photo.bytes);
    EXPECT_EQ(cr3->moov->get_type(), 0xE4E5E6E7U);
    EXPECT_EQ(cr3->moov->get_uuid_size(), 0xE8E9EAEBU);
    EXPECT_EQ(cr3->moov->get_uuid_type(), 0xECEDEEEFU);
    EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Model, FreeOfMoovMustBeZeroAndIsJudgedBeforeCmt1IsRead) {
    const Cr3Photo photo;
    for (std::size_t byte = 0; byte < 6; ++byte) {
        Bytes bytes = photo.bytes;
        bytes[photo.at("free") + 8 + byte] = 1;
        EXPECT_THROW(read(bytes), IllegalException) << byte;
        EXPECT_THROW(read(part(bytes, 0, photo.at("CMT1"))), IllegalException) << byte;
    }
    EXPECT_THROW(read(part(photo.bytes, 0, photo.at("CMT1"))), OutRangeException);
}

TEST_F(Cr3Model, FreeOfTheSampleTablesMayHoldAnything) {
    Cr3Photo photo;
    for (const char* name : {"trak1/free1", "trak1/free2", "trak4/free2"}) {
        photo.bytes[photo.at(name) + 8] = 1;
    }
    EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Model, SecondSampleSizeIsTakenForTheNextBox) {
    const Cr3Photo photo;
    const std::size_t end = photo.at("trak1/free2");
    Bytes bytes =
        joined(joined(part(photo.bytes, 0, end), {0, 0, 0, 9}), part(photo.bytes, end, photo.bytes.size()));
    put_u32(bytes, photo.at("trak1/stsz") + 16, 2, kBig);
    const auto cr3 = open(bytes);
    EXPECT_THROW(read_all(*cr3), IllegalException);
    EXPECT_EQ(cr3->mmap->position(), end + 7);
}

TEST_F(Cr3Model, FreeBeforeTheSampleSizesOfTrack4IsIllegal) {
    const Cr3Photo photo;
    const std::size_t place = photo.at("trak4/stsz");
    const Bytes free{0, 0, 0, 8, 'f', 'r', 'e', 'e'};
    EXPECT_THROW(
        read(joined(joined(part(photo.bytes, 0, place), free), part(photo.bytes, place, photo.bytes.size()))),
        IllegalException);
}

TEST_F(Cr3Model, FreeMissingBeforeTheSampleSizesOfTrack1IsIllegal) {
    const Cr3Photo photo;
    EXPECT_THROW(read(joined(part(photo.bytes, 0, photo.at("trak1/free1")),
                             part(photo.bytes, photo.at("trak1/stsz"), photo.bytes.size()))),
                 IllegalException);
}

TEST_F(Cr3Model, SampleSizesOfTrack4HaveTheLengthBeforeTheCount) {
    Cr3Photo photo(Cr3Photo::Options{.tracks = {4, 4, 4, 5}});
    put_u32(photo.bytes, photo.at("trak4/stsz") + 8, 0x01020304, kBig);
    put_u32(photo.bytes, photo.at("trak4/stsz") + 16, 0x77, kBig);
    const auto cr3 = read(photo.bytes);
    const auto stsz = cr3->moov->get_trak4()->get_mdia()->get_minf()->get_stbl()->get_stsz();
    EXPECT_THAT(stsz->get_header(), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(stsz->get_entry_size(), 5U);
    EXPECT_EQ(stsz->get_sample_count(), 0x77U);
    EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Model, CountsAreReadAndWrittenBackAndNotUsed) {
    for (const std::uint32_t count : {0U, 2U, 4U, 0xFFFFFFFFU}) {
        Cr3Photo photo;
        put_u32(photo.bytes, photo.at("CCTP") + 16, count, kBig);
        for (const std::string trak : {"trak1", "trak2", "trak3", "trak4"}) {
            put_u32(photo.bytes, photo.at(trak + "/stsd") + 12, count, kBig);
            put_u32(photo.bytes, photo.at(trak + "/co64") + 12, count, kBig);
            put_u32(photo.bytes, photo.at(trak + "/stsz") + 16, trak == "trak4" ? count : 1, kBig);
        }
        put_u32(photo.bytes, photo.at("trak1/stsz") + 16, count, kBig);
        EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3))) << count;
    }
}

TEST_F(Cr3Model, HighWordOfAnOffsetIsKeptAndNotUsed) {
    Cr3Photo photo;
    for (const std::string trak : {"trak1", "trak2", "trak3", "trak4"}) {
        put_u32(photo.bytes, photo.at(trak + "/co64") + 16, 0x01020304, kBig);
    }
    EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Model, ReservedOfCctpLosesTheHighBitsOfItsFourthByte) {
    Cr3Photo photo;
    test::put_bytes(photo.bytes, photo.at("CCTP") + 8, {0, 0, 0, 0x21, 0, 0, 0, 1});
    EXPECT_EQ(read(photo.bytes)->moov->get_cctp()->get_reserved(), 0x0000001000000001U);
    EXPECT_THAT(part(repaired_with_itself(photo), photo.at("CCTP") + 8, photo.at("CCTP") + 16),
                ElementsAre(0, 0, 0, 0x10, 0, 0, 0, 1));
    test::put_bytes(photo.bytes, photo.at("CCTP") + 8, {0xF1, 0xE2, 0xD3, 0xC4, 0xB5, 0xA6, 0x97, 0x88});
    EXPECT_EQ(read(photo.bytes)->moov->get_cctp()->get_reserved(), 0xF1E2D340B5A69788U);
    EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Model, LineThatIsRefusedIsIllegalBeforeTheNextOneIsRead) {
    const Cr3Photo photo;
    for (unsigned line = 1; line <= 3; ++line) {
        for (const auto& [byte, value] : {std::pair{7U, 2}, {7U, 15}, {7U, 17}, {15U, 0}, {15U, 4}}) {
            const std::size_t place = photo.at("CCDT" + std::to_string(line));
            Bytes bytes = photo.bytes;
            bytes[place + 8 + byte] = static_cast<unsigned char>(value);
            EXPECT_THROW(read(bytes), IllegalException);
            EXPECT_THROW(read(part(bytes, 0, place + 24)), IllegalException) << "and not out of range";
        }
    }
}

TEST_F(Cr3Model, IdentifiersAreReadInFullBeforeTheyAreCompared) {
    for (const char* name : {"xmp", "preview"}) {
        Cr3Photo photo;
        for (std::size_t byte = 0; byte < 16; ++byte) {
            Bytes bytes = photo.bytes;
            bytes[photo.at(name) + 8 + byte] ^= 1U;
            const auto cr3 = open(bytes);
            EXPECT_THROW(read_all(*cr3), IllegalException);
            EXPECT_EQ(cr3->mmap->position(), photo.at(name) + 23) << name << byte;
            EXPECT_THROW(read(part(bytes, 0, photo.at(name) + 23)), OutRangeException);
        }
    }
}

TEST_F(Cr3Model, UuidBoxesInTheOtherOrderAreIllegal) {
    const Cr3Photo photo;
    const std::size_t xmp = photo.at("xmp");
    const std::size_t preview = photo.at("preview");
    const std::size_t mdat = photo.at("mdat");
    const Bytes swapped = joined(part(photo.bytes, preview, mdat), part(photo.bytes, xmp, preview));
    EXPECT_THROW(
        read(joined(joined(part(photo.bytes, 0, xmp), swapped), part(photo.bytes, mdat, photo.bytes.size()))),
        IllegalException);
}

// Stored JPEGs.

TEST_F(Cr3Model, ThumbnailHasATrailerOnlyAfterALengthThatIsNoMultipleOfFour) {
    for (const std::size_t size : {0U, 4U, 8U, 9U, 10U, 11U, 12U}) {
        const Cr3Photo photo(Cr3Photo::Options{.thumbnail = size});
        const auto cr3 = read(photo.bytes);
        const auto thmb = cr3->moov->get_thmb();
        EXPECT_EQ(thmb->get_jpeg().size(), size);
        EXPECT_EQ(thmb->get_padding(), Bytes(size % 4)) << "zeros, whatever the file holds";
        EXPECT_EQ(thmb->get_trailer(), size % 4 == 0 ? 0 : 0x54524C52U);
        EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3))) << size;
    }
}

TEST_F(Cr3Model, PreviewMayBeEmpty) {
    const Cr3Photo photo(Cr3Photo::Options{.preview = 0});
    EXPECT_THAT(read(photo.bytes)->preview->get_prvw()->get_jpeg(), IsEmpty());
    EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Model, JpegLengthPastTheFileIsOutOfRange) {
    const Cr3Photo photo;
    for (const auto& [place, jpeg] : {std::pair{photo.at("THMB") + 16, photo.thumbnail.offset},
                                      {photo.at("PRVW") + 20, photo.preview.offset}}) {
        const auto left = static_cast<std::uint32_t>(photo.bytes.size() - jpeg);
        for (const std::uint32_t size : {left, left + 1, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            Bytes bytes = photo.bytes;
            put_u32(bytes, place, size, kBig);
            EXPECT_THROW(read(bytes), OutRangeException) << size;
        }
    }
}

TEST_F(Cr3Model, BlanksThirtyBytesOfBothJpegsOrAllOfAShorterOne) {
    for (const std::size_t size : {0U, 1U, 29U, 30U, 31U, 100U}) {
        const Cr3Photo photo(Cr3Photo::Options{.thumbnail = size, .preview = size});
        const auto cr3 = read(photo.bytes);
        const Bytes thumbnail = cr3->moov->get_thmb()->get_jpeg();
        const Bytes preview = cr3->preview->get_prvw()->get_jpeg();
        cr3->blank_previews();
        const std::size_t blank = std::min<std::size_t>(size, 30);
        EXPECT_EQ(cr3->moov->get_thmb()->get_jpeg(), test::zeroed(thumbnail, 0, blank));
        EXPECT_EQ(cr3->preview->get_prvw()->get_jpeg(), test::zeroed(preview, 0, blank));
        cr3->mmap->close(); // So that the file can be read on Windows.
        EXPECT_EQ(test::read_file(folder / ("file" + std::to_string(files) + ".cr3")), photo.bytes);
    }
}

// Tracks of the sample.

/// The four offsets as the model has them, counted from the payload of mdat.
std::vector<std::uint32_t> offsets_in_payload(const CR3& cr3, const Cr3Photo& photo) {
    std::vector<std::uint32_t> offsets;
    for (unsigned n = 1; n <= 4; ++n) {
        offsets.push_back(cr3.get_track_offset(n) - static_cast<std::uint32_t>(photo.payload));
    }
    return offsets;
}

TEST_F(Cr3Model, TracksBackToBackKeepTheirOffsets) {
    for (const bool large : {true, false}) {
        const Cr3Photo photo(Cr3Photo::Options{.tracks = {10, 20, 30, 40}, .large_mdat = large});
        const auto cr3 = read(photo.bytes);
        EXPECT_THAT(offsets_in_payload(*cr3, photo), ElementsAre(0, 10, 30, 60));
    }
}

TEST_F(Cr3Model, GapBetweenTracks2And3MovesTheTracksAfterIt) {
    const Cr3Photo photo(Cr3Photo::Options{.tracks = {10, 20, 30, 40}, .gaps = {0, 0, 16, 0}});
    const auto cr3 = read(photo.bytes);
    EXPECT_THAT(offsets_in_payload(*cr3, photo), ElementsAre(0, 10, 30, 60));
    EXPECT_EQ(cr3->mdat->get_track3_data(), photo.track(3));
    EXPECT_EQ(cr3->mdat->get_track4_data(), photo.track(4));
}

TEST_F(Cr3Model, GapsBeforeAllTracksAddUp) {
    const Cr3Photo photo(
        Cr3Photo::Options{.tracks = {10, 20, 30, 40}, .gaps = {1, 2, 400, 8}, .after_tracks = 99});
    const auto cr3 = read(photo.bytes);
    EXPECT_THAT(offsets_in_payload(*cr3, photo), ElementsAre(0, 10, 30, 60));
    EXPECT_EQ(cr3->mdat->get_track1_data(), photo.track(1));
    EXPECT_EQ(cr3->mdat->get_track4_data(), photo.track(4));
    EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Model, TrackBeforeTheEndOfTheOneBeforeIsMismatching) {
    const Cr3Photo photo(Cr3Photo::Options{.tracks = {10, 20, 30, 40}});
    for (unsigned n = 1; n <= 4; ++n) {
        const auto offset = static_cast<std::uint32_t>(photo.tracks[n - 1].offset);
        for (const std::uint32_t wrong : {offset - 1, 0U}) {
            Bytes bytes = photo.bytes;
            put_u32(bytes, photo.offset_entry(n), wrong, kBig);
            EXPECT_THROW(read(bytes), MismatchingException) << n;
        }
    }
}

TEST_F(Cr3Model, EmptyTrackBeforeTheEndOfTheOneBeforeIsMismatchingToo) {
    for (unsigned n = 1; n <= 4; ++n) {
        Cr3Photo::Options options{.tracks = {10, 20, 30, 40}};
        options.tracks[n - 1] = 0;
        const Cr3Photo photo(options);
        EXPECT_NO_THROW(read(photo.bytes));
        Bytes bytes = photo.bytes;
        put_u32(bytes, photo.offset_entry(n), static_cast<std::uint32_t>(photo.tracks[n - 1].offset) - 1,
                kBig);
        EXPECT_THROW(read(bytes), MismatchingException) << n;
    }
}

TEST_F(Cr3Model, TrackPastTheFileIsOutOfRange) {
    const Cr3Photo photo;
    for (unsigned n = 1; n <= 4; ++n) {
        Bytes bytes = photo.bytes;
        const auto left = static_cast<std::uint32_t>(photo.bytes.size() - photo.tracks[n - 1].offset);
        for (const std::uint32_t size : {left + 1, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            put_u32(bytes, photo.size_entry(n), size, kBig);
            EXPECT_THROW(read(bytes), OutRangeException) << n << " " << size;
        }
        bytes = photo.bytes;
        put_u32(bytes, photo.size_entry(n), 0, kBig); // Not even an empty track may be after the end.
        for (const std::uint32_t offset : {static_cast<std::uint32_t>(bytes.size()) + 1, 0xFFFFFFFFU}) {
            put_u32(bytes, photo.offset_entry(n), offset, kBig);
            EXPECT_THROW(read(bytes), OutRangeException) << n << " " << offset;
        }
    }
}

TEST_F(Cr3Model, PaddingIsTheLowTwoBitsOfTheSum) {
    for (const auto& [sizes, pad] : {std::pair{std::array<std::size_t, 4>{1, 1, 1, 1}, 0U},
                                     {{2, 1, 1, 1}, 1U},
                                     {{2, 2, 1, 1}, 2U},
                                     {{3, 2, 1, 1}, 3U},
                                     {{5, 1, 1, 1}, 0U},
                                     {{0, 0, 0, 0}, 0U}}) {
        // What is after track 4 is not read.
        const Cr3Photo photo(Cr3Photo::Options{.tracks = sizes, .after_tracks = 10});
        EXPECT_EQ(read(photo.bytes)->mdat->get_padding(), Bytes(pad));
        const Cr3Photo ending(Cr3Photo::Options{.tracks = sizes});
        EXPECT_EQ(read(ending.bytes)->mdat->get_padding(), Bytes(pad));
    }
}

TEST_F(Cr3Model, WhatIsAfterTrack4IsNotRead) {
    const Cr3Photo photo(Cr3Photo::Options{.tracks = {10, 20, 30, 40}, .after_tracks = 1000});
    const auto cr3 = read(photo.bytes);
    EXPECT_EQ(cr3->mmap->position(), photo.tracks[3].offset + 39);
    EXPECT_EQ(repaired_with_itself(photo), expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Model, EachTrackHasFourAccessorsOfItsOwn) {
    const auto cr3 = read(Cr3Photo().bytes);
    using Get = std::uint32_t (CR3::*)() const;
    using Set = void (CR3::*)(std::uint32_t);
    const std::array<Get, 8> getters{
        &CR3::get_track1_offset, &CR3::get_track1_size, &CR3::get_track2_offset, &CR3::get_track2_size,
        &CR3::get_track3_offset, &CR3::get_track3_size, &CR3::get_track4_offset, &CR3::get_track4_size};
    const std::array<Set, 8> setters{
        &CR3::set_track1_offset, &CR3::set_track1_size, &CR3::set_track2_offset, &CR3::set_track2_size,
        &CR3::set_track3_offset, &CR3::set_track3_size, &CR3::set_track4_offset, &CR3::set_track4_size};
    for (std::size_t index = 0; index < 8; ++index) {
        ((*cr3).*setters[index])(static_cast<std::uint32_t>(1000 + index));
    }
    for (std::size_t index = 0; index < 8; ++index) {
        EXPECT_EQ(((*cr3).*getters[index])(), 1000 + index);
    }
    const auto stbl = [](const std::shared_ptr<TrakBox>& trak) {
        return trak->get_mdia()->get_minf()->get_stbl();
    };
    EXPECT_EQ(stbl(cr3->moov->get_trak1())->get_co64()->get_chunk_offset_low(), 1000U);
    EXPECT_EQ(stbl(cr3->moov->get_trak1())->get_stsz()->get_entry_size(), 1001U);
    EXPECT_EQ(stbl(cr3->moov->get_trak2())->get_co64()->get_chunk_offset_low(), 1002U);
    EXPECT_EQ(stbl(cr3->moov->get_trak2())->get_stsz()->get_entry_size(), 1003U);
    EXPECT_EQ(stbl(cr3->moov->get_trak3())->get_co64()->get_chunk_offset_low(), 1004U);
    EXPECT_EQ(stbl(cr3->moov->get_trak3())->get_stsz()->get_entry_size(), 1005U);
    EXPECT_EQ(stbl(cr3->moov->get_trak4())->get_co64()->get_chunk_offset_low(), 1006U);
    EXPECT_EQ(stbl(cr3->moov->get_trak4())->get_stsz()->get_entry_size(), 1007U);
    for (unsigned n = 1; n <= 4; ++n) {
        EXPECT_EQ(cr3->get_track_offset(n), 1000 + 2 * (n - 1));
        EXPECT_EQ(cr3->get_track_size(n), 1001 + 2 * (n - 1));
    }
}

// Tracks of the damaged file.

class Cr3CorruptTracks : public Cr3ModelFixture {
  protected:
    /// 100 bytes that count from 0, with both tracks at one place.
    std::shared_ptr<CR3> with_tracks(std::uint32_t offset, std::uint32_t size) {
        Bytes bytes(100);
        for (std::size_t index = 0; index < bytes.size(); ++index) {
            bytes[index] = static_cast<unsigned char>(index);
        }
        auto cr3 = open(bytes);
        cr3->set_corrupt_track1_offset(offset);
        cr3->set_corrupt_track1_size(size);
        cr3->set_corrupt_track3_offset(offset);
        cr3->set_corrupt_track3_size(size);
        return cr3;
    }

    template <typename Exception>
    void expect_refused(std::uint32_t offset, std::uint32_t size) {
        EXPECT_THROW(with_tracks(offset, size)->read_corrupt_track1(), Exception) << offset << " " << size;
        const auto second = with_tracks(offset, size);
        second->set_corrupt_track1_offset(1);
        second->set_corrupt_track1_size(1);
        second->read_corrupt_track1();
        EXPECT_THROW(second->read_corrupt_track3(), Exception) << offset << " " << size;
    }

    void expect_read(std::uint32_t offset, std::uint32_t size, const Bytes& expected) {
        const auto cr3 = with_tracks(offset, size);
        cr3->read_corrupt_track1();
        EXPECT_EQ(cr3->mdat->get_track1_data(), expected);
        EXPECT_THAT(cr3->mdat->get_track3_data(), IsEmpty());
        cr3->read_corrupt_track3();
        EXPECT_EQ(cr3->mdat->get_track1_data(), expected);
        EXPECT_EQ(cr3->mdat->get_track3_data(), expected);
        EXPECT_EQ(cr3->get_corrupt_track1_offset(), offset) << "stays what it was";
        EXPECT_EQ(cr3->get_corrupt_track3_offset(), offset);
        EXPECT_EQ(cr3->get_corrupt_track1_size(), size);
        EXPECT_EQ(cr3->get_corrupt_track3_size(), size);
    }
};

TEST_F(Cr3CorruptTracks, AreReadFromTheirPlaces) {
    expect_read(1, 3, {1, 2, 3});
    expect_read(50, 2, {50, 51});
    expect_read(98, 1, {98});
}

TEST_F(Cr3CorruptTracks, EndAtTheEndOfTheFileIsVisitingBeyond) {
    expect_read(97, 2, {97, 98});
    expect_refused<VisitingBeyondException>(97, 3);
    expect_refused<VisitingBeyondException>(97, 4);
    expect_refused<VisitingBeyondException>(1, 99);
    expect_refused<VisitingBeyondException>(0, 100);
}

TEST_F(Cr3CorruptTracks, OffsetAtTheEndOfTheFileIsVisitingBeyond) {
    expect_read(99, 0, {});
    expect_refused<VisitingBeyondException>(100, 0);
    expect_refused<VisitingBeyondException>(101, 0);
    expect_refused<VisitingBeyondException>(0xFFFFFFFF, 0);
    expect_refused<VisitingBeyondException>(100, 0xFFFFFFFF); // Though the end, of 32 bits, is 99.
}

TEST_F(Cr3CorruptTracks, EndIsANumberOf32BitsAndTheBytesAreOutOfRange) {
    expect_refused<OutRangeException>(50, 0xFFFFFFFF);            // Ends at 49,
    expect_refused<OutRangeException>(50, 0xFFFFFFFF - 49);       // at 0,
    expect_refused<VisitingBeyondException>(50, 0xFFFFFFFF - 50); // and at the last number there is.
}

TEST_F(Cr3CorruptTracks, TrackAtTheStartOfTheFileIsOutOfRangeUnlessItIsEmpty) {
    expect_refused<OutRangeException>(0, 1);
    expect_refused<OutRangeException>(0, 99);
    expect_read(0, 0, {});
}

TEST_F(Cr3CorruptTracks, NothingMappedIsVisitingBeyond) {
    CR3 missing(folder / "missing.cr3");
    EXPECT_THROW(missing.read_corrupt_track1(), VisitingBeyondException);
}

TEST_F(Cr3CorruptTracks, Track1BeginsANewMdat) {
    const auto cr3 = with_tracks(1, 1);
    cr3->read_corrupt_track1();
    cr3->read_corrupt_track3();
    const auto first = cr3->mdat;
    cr3->read_corrupt_track1();
    EXPECT_NE(cr3->mdat, first);
    EXPECT_THAT(cr3->mdat->get_track3_data(), IsEmpty());
}

// Searches.

const CR3::Pattern kAbcd{'A', 'B', 'C', 'D'};

Bytes text(std::string_view characters) {
    return {characters.begin(), characters.end()};
}

TEST_F(Cr3Model, FindDataReturnsTheEarliestHitFromTheStartOn) {
    const auto cr3 = open(text("xABCDxxABCD"));
    EXPECT_EQ(cr3->find_data(kAbcd, 0), 1U);
    EXPECT_EQ(cr3->find_data(kAbcd, 1), 1U);
    EXPECT_EQ(cr3->find_data(kAbcd, 2), 7U);
    EXPECT_EQ(cr3->find_data(kAbcd, 7), 7U) << "and the match may end on the last byte";
    EXPECT_THROW((void)cr3->find_data(kAbcd, 8), NotFoundException);
    EXPECT_THROW((void)open(text("xABC"))->find_data(kAbcd, 0), NotFoundException);
}

TEST_F(Cr3Model, FindDataStartMayBeTheEndOfTheFileAndNoFurther) {
    const auto cr3 = open(text("ABCD"));
    EXPECT_THROW((void)cr3->find_data(kAbcd, 4), NotFoundException);
    EXPECT_THROW((void)cr3->find_data(kAbcd, 5), OutRangeException);
    EXPECT_THROW((void)cr3->find_data(kAbcd, 0xFFFFFFFF), OutRangeException);
}

TEST_F(Cr3Model, FindDataInRangeTakesAMatchThatIsWhollyInside) {
    const auto cr3 = open(text("xABCDxxABCD"));
    EXPECT_EQ(cr3->find_data_in_range(kAbcd, 0, 5), 1U);
    EXPECT_THROW((void)cr3->find_data_in_range(kAbcd, 0, 4), NotFoundException);
    EXPECT_EQ(cr3->find_data_in_range(kAbcd, 2, 11), 7U);
    EXPECT_THROW((void)cr3->find_data_in_range(kAbcd, 2, 10), NotFoundException);
    EXPECT_THROW((void)cr3->find_data_in_range(kAbcd, 1, 1), NotFoundException);
}

TEST_F(Cr3Model, FindDataInRangeChecksItsEndAlone) {
    const auto cr3 = open(text("xABCD"));
    EXPECT_EQ(cr3->find_data_in_range(kAbcd, 0, 5), 1U);
    EXPECT_THROW((void)cr3->find_data_in_range(kAbcd, 0, 6), OutRangeException);
    EXPECT_THROW((void)cr3->find_data_in_range(kAbcd, 0xFFFFFFFF, 5), NotFoundException);
}

TEST_F(Cr3Model, FindDataInRangeFindsNothingWhenTheEndIsBeforeTheStart) {
    EXPECT_THROW((void)open(text("xABCDxxABCD"))->find_data_in_range(kAbcd, 7, 6), NotFoundException);
}

TEST_F(Cr3Model, SearchesLeaveTheCursor) {
    const auto cr3 = open(text("xABCD"));
    cr3->mmap->seek(3);
    EXPECT_EQ(cr3->find_data(kAbcd, 0), 1U);
    EXPECT_EQ(cr3->find_data_in_range(kAbcd, 0, 5), 1U);
    EXPECT_EQ(cr3->mmap->position(), 3U);
}

TEST_F(Cr3Model, BoxSizeIsReadBeforeTheHit) {
    Bytes bytes(12);
    put_u32(bytes, 0, 112, kBig);
    put_u32(bytes, 4, 228, kBig);
    put_u32(bytes, 8, 0x01000070, kBig);
    const auto cr3 = open(bytes);
    EXPECT_TRUE(cr3->has_box_size_112(4));
    EXPECT_FALSE(cr3->has_box_size_228(4));
    EXPECT_FALSE(cr3->has_box_size_112(8));
    EXPECT_TRUE(cr3->has_box_size_228(8));
    EXPECT_FALSE(cr3->has_box_size_112(12));
    EXPECT_FALSE(cr3->has_box_size_228(12));
    EXPECT_THROW((void)cr3->has_box_size_112(13), OutRangeException);
}

TEST_F(Cr3Model, NeighboursOfTheTwoBoxSizesAreNone) {
    for (const auto& [size, is_112, is_228] : {std::tuple{111U, false, false},
                                               {112U, true, false},
                                               {113U, false, false},
                                               {227U, false, false},
                                               {228U, false, true},
                                               {229U, false, false}}) {
        Bytes bytes(8);
        put_u32(bytes, 0, size, kBig);
        const auto cr3 = open(bytes);
        EXPECT_EQ(cr3->has_box_size_112(4), is_112) << size;
        EXPECT_EQ(cr3->has_box_size_228(4), is_228) << size;
    }
}

TEST_F(Cr3Model, HitBelowOffsetFourIsOutOfRange) {
    const auto cr3 = open(Bytes(100));
    for (std::uint32_t pos = 0; pos < 4; ++pos) {
        EXPECT_THROW((void)cr3->has_box_size_112(pos), OutRangeException) << pos;
        EXPECT_THROW((void)cr3->has_box_size_228(pos), OutRangeException) << pos;
    }
    EXPECT_FALSE(cr3->has_box_size_112(4));
}

TEST_F(Cr3Model, TableEntriesAreSixteenBytesAfterTheType) {
    Bytes bytes(24);
    put_u32(bytes, 20, 0x01020304, kBig);
    const auto cr3 = open(bytes);
    EXPECT_EQ(cr3->read_chunk_offset(4), 0x01020304U);
    EXPECT_EQ(cr3->read_sample_size(4), 0x01020304U);
    EXPECT_THROW((void)cr3->read_chunk_offset(5), OutRangeException);
    EXPECT_THROW((void)cr3->read_sample_size(5), OutRangeException);
    EXPECT_THROW((void)cr3->read_chunk_offset(0xFFFFFFFF), OutRangeException);
    EXPECT_THROW((void)cr3->read_sample_size(0xFFFFFFFF), OutRangeException);
}

TEST_F(Cr3Model, TableEntriesOfAPhotographLeadToItsTracks) {
    const Cr3Photo photo;
    const auto cr3 = open(photo.bytes);
    for (const unsigned n : {1U, 3U}) {
        const std::string trak = "trak" + std::to_string(n);
        const auto co64 = static_cast<std::uint32_t>(photo.at(trak + "/co64") + 4);
        const auto stsz = static_cast<std::uint32_t>(photo.at(trak + "/stsz") + 4);
        EXPECT_EQ(cr3->read_chunk_offset(co64), photo.tracks[n - 1].offset);
        EXPECT_EQ(cr3->read_sample_size(stsz), photo.tracks[n - 1].size);
    }
}

} // namespace
} // namespace plate_mend
