#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/Cr3Photo.h"
#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/Scene.h"

#include <gmock/gmock.h>

#include <plate_mend/plate_mend.h>

#include <functional>

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const RepairLog kLog = repair_log("cr3");
constexpr ByteOrder kBig = ByteOrder::kBig;

// The lines of the failures.
const auto kIllegalSample = kLog.failed("sample file data corrupted, reason is Data is illegal");
const auto kMismatchingSample = kLog.failed("sample file mdat data corrupted, reason is Data is mismatching");
const auto kOutOfRange = kLog.failed("search data error, reason is Access out of range");
const auto kNoBox = kLog.failed("corrupt file can not find box, reason is Data can not found");
const auto kNoImage =
    kLog.failed("corrupt file can not found img data, reason is Visiting beyond boundaries");

/// A photograph reduced to what a repair reads: three landmarks, the tables of tracks 1 and 3, and their
/// bytes. All else is zero with a seed of 0, and noise with any other.
Bytes only_what_is_needed(const Cr3Photo& photo, std::uint32_t seed) {
    Bytes damaged = seed == 0 ? Bytes(photo.bytes.size()) : noise(photo.bytes.size(), seed);
    const auto keep = [&](std::size_t offset, std::size_t size) {
        put_bytes(damaged, offset, part(photo.bytes, offset, offset + size));
    };
    keep(photo.at("trak1/entry"), 8);
    keep(photo.at("trak3/entry"), 8);
    keep(photo.at("trak4/entry") + 4, 4);
    for (const unsigned n : {1U, 3U}) {
        const std::string trak = "trak" + std::to_string(n);
        keep(photo.at(trak + "/stsz") + 4, 4);
        keep(photo.size_entry(n), 4);
        keep(photo.at(trak + "/co64") + 4, 4);
        keep(photo.offset_entry(n), 4);
        keep(photo.tracks[n - 1].offset, photo.tracks[n - 1].size);
    }
    return damaged;
}

/// A sample and a damaged photograph from one camera, whose tracks are elsewhere and have other lengths.
class Cr3Repairs : public RepairFixture {
  protected:
    Cr3Photo sample_photo{Cr3Photo::Options{.number = 1}};
    Cr3Photo damaged_photo{
        Cr3Photo::Options{.number = 2, .maker_notes = 1500, .tracks = {1100, 333, 1962, 90}}};

    /// Repairs, and expects the damaged photograph's tracks in the sample.
    void expect_repaired(const Bytes& damaged) {
        EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), 0);
        EXPECT_EQ(output(), expected_cr3(sample_photo, damaged_photo.track(1), damaged_photo.track(3)));
    }

    /// The text of the exception that reaches the host.
    std::string escaping(const Bytes& damaged, const Bytes& sample) {
        try {
            const auto code = advance("cr3", damaged, sample);
            return "no exception but " + std::to_string(code);
        } catch (const std::exception& exception) {
            return exception.what();
        }
    }

    Bytes damaged_with(const std::function<void(Bytes&)>& change) const {
        Bytes bytes = damaged_photo.bytes;
        change(bytes);
        return bytes;
    }
    Bytes damaged_without(const std::string& box) const {
        return damaged_with([&](Bytes& bytes) { put_text(bytes, damaged_photo.at(box) + 4, "????"); });
    }
    Bytes sample_with(const std::function<void(Bytes&)>& change) const {
        Bytes bytes = sample_photo.bytes;
        change(bytes);
        return bytes;
    }
};

// What comes out.

TEST_F(Cr3Repairs, WorkDirectoryIsNotNeeded) {
    fs::remove(work);
    expect_repaired(damaged_photo.bytes);
}

TEST_F(Cr3Repairs, EverythingButTheLandmarksTheirTablesAndTheTracksMayBeDestroyed) {
    for (const std::uint32_t seed : {0U, 7U}) {
        expect_repaired(only_what_is_needed(damaged_photo, seed));
    }
}

TEST_F(Cr3Repairs, PictureIsRepaired) {
    const Cr3Photo sample(Cr3Photo::Options{.number = 1, .pictures = true});
    const Cr3Photo original(Cr3Photo::Options{.number = 2, .maker_notes = 1500, .pictures = true});
    ASSERT_NE(original.tracks[0].size, sample.tracks[0].size);
    ASSERT_NE(original.tracks[2].size, sample.tracks[2].size);
    const auto wanted = decode_raw(original.bytes);
    ASSERT_TRUE(wanted.has_value());
    ASSERT_EQ(wanted->samples,
              Scene(2).bayer(Cr3Photo::kWidth, Cr3Photo::kHeight, Cr3Photo::kBits, Cr3Photo::kBlack));
    for (const Bytes& damaged : {zeroed(original.bytes, 0, original.at("trak1/entry")),
                                 only_what_is_needed(original, 0), only_what_is_needed(original, 7)}) {
        EXPECT_EQ(decode_raw(damaged), std::nullopt) << "the damage must show";
        ASSERT_EQ(advance("cr3", damaged, sample.bytes), 0);
        EXPECT_EQ(output(), expected_cr3(sample, original.track(1), original.track(3)));
        EXPECT_EQ(decode_raw(output_path), wanted);
    }
    EXPECT_NE(decode_raw(sample.bytes), wanted);
}

TEST_F(Cr3Repairs, LargeJpegIsRepaired) {
    const Cr3Photo sample(Cr3Photo::Options{.number = 1, .pictures = true});
    const Cr3Photo original(Cr3Photo::Options{.number = 2, .pictures = true});
    ASSERT_EQ(advance("cr3", zeroed(original.bytes, 0, original.at("trak1/entry")), sample.bytes), 0);
    // By the output's own tables.
    const Bytes out = *output();
    const auto offset = get_u32(out, sample.offset_entry(1), kBig);
    const auto size = get_u32(out, sample.size_entry(1), kBig);
    const Bytes jpeg = part(out, offset, offset + size);
    EXPECT_TRUE(jpeg_decodes(jpeg));
    EXPECT_EQ(jpeg, original.track(1));
    EXPECT_NE(jpeg, sample.track(1));
}

TEST_F(Cr3Repairs, OutputIsASampleInItsTurn) {
    expect_repaired(damaged_photo.bytes);
    const Bytes first = *output();
    EXPECT_EQ(advance("cr3", damaged_photo.bytes, first), 0);
    EXPECT_EQ(output(), first);
}

TEST_F(Cr3Repairs, OutputIsADamagedFileInItsTurn) {
    // Track 4 is after track 3, so the byte after the image is there.
    expect_repaired(damaged_photo.bytes);
    const Bytes first = *output();
    expect_repaired(first);
}

TEST_F(Cr3Repairs, AllShapesOfMdatAgreeWithTheSecondWriting) {
    for (const bool large : {true, false}) {
        for (std::size_t more = 0; more < 4; ++more) {
            sample_photo = Cr3Photo(Cr3Photo::Options{.thumbnail = 400 + more,
                                                      .tracks = {1000, 301, 2002, 77 + more},
                                                      .gaps = {more, 16 * more, 0, 3},
                                                      .after_tracks = 5 * more,
                                                      .large_mdat = large});
            damaged_photo = Cr3Photo(Cr3Photo::Options{
                .number = 2, .gaps = {16, 0, more, 0}, .after_tracks = 9, .large_mdat = !large});
            expect_repaired(damaged_photo.bytes);
        }
    }
}

TEST_F(Cr3Repairs, SampleOfAnotherSizeIsNotNoticed) {
    sample_photo = Cr3Photo(Cr3Photo::Options{.number = 3, .preview = 20, .tracks = {5, 6, 7, 8}});
    expect_repaired(damaged_photo.bytes);
}

TEST_F(Cr3Repairs, SampleWithTheOtherHeaderAndAnyMoovTypeKeepsThem) {
    put_text(sample_photo.bytes, sample_photo.at("trak1/vmhd") + 4, "nmhd");
    put_text(sample_photo.bytes, sample_photo.at("moov") + 4, "m\xFFv?");
    put_bytes(sample_photo.bytes, sample_photo.at("CCTP") + 8, {0, 0, 0, 0x21, 0, 0, 0, 1});
    expect_repaired(damaged_photo.bytes);
}

TEST_F(Cr3Repairs, SampleWithFreeBytesUnderStblIsASample) {
    sample_photo.bytes[sample_photo.at("trak1/free1") + 8] = 1;
    expect_repaired(damaged_photo.bytes);
}

// Landmarks of the damaged file.

TEST_F(Cr3Repairs, SampleEntriesOfOtherSizesAreSteppedOver) {
    // That of track 2, of 212, is between the two that count; more of them come before all.
    expect_repaired(damaged_with([&](Bytes& bytes) {
        put_text(bytes, 10, "CRAW");
        put_text(bytes, 14, "CRAWCRAW");
        put_u32(bytes, 100, 111, kBig);
        put_text(bytes, 104, "CRAW");
        put_u32(bytes, 120, 229, kBig);
        put_text(bytes, 124, "CRAW");
    }));
}

TEST_F(Cr3Repairs, SampleEntryAtOffset0IsNeverFound) {
    expect_repaired(damaged_with([](Bytes& bytes) { put_text(bytes, 0, "CRAW"); }));
}

TEST_F(Cr3Repairs, SampleEntryBelowOffset4IsOutOfRange) {
    for (std::size_t offset = 1; offset < 4; ++offset) {
        const Bytes damaged = damaged_with([&](Bytes& bytes) { put_text(bytes, offset, "CRAW"); });
        reset_stand_ins();
        EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), -1094) << offset;
        EXPECT_THAT(lines(), ElementsAre(kOutOfRange));
    }
    expect_repaired(damaged_with([](Bytes& bytes) { put_text(bytes, 4, "CRAW"); }));
}

TEST_F(Cr3Repairs, FirstHitOfEachSizeCounts) {
    // Another entry of 112 in front: between it and track 3 the first tables are still those of track 1.
    expect_repaired(damaged_with([](Bytes& bytes) {
        put_u32(bytes, 40, 112, kBig);
        put_text(bytes, 44, "CRAW");
    }));
}

TEST_F(Cr3Repairs, EntryOf228BeforeThatOf112ReachesTheHostAsAnException) {
    const Bytes damaged = damaged_with([](Bytes& bytes) {
        put_u32(bytes, 40, 228, kBig);
        put_text(bytes, 44, "CRAW");
    });
    EXPECT_EQ(escaping(damaged, sample_photo.bytes), "Data can not found");
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(Cr3Repairs, DamagedFileWithoutALandmarkHasLostABox) {
    for (const char* box : {"trak1/entry", "trak3/entry", "trak4/entry"}) {
        reset_stand_ins();
        EXPECT_EQ(advance("cr3", damaged_without(box), sample_photo.bytes), -1092) << box;
        EXPECT_THAT(lines(), ElementsAre(kNoBox));
        EXPECT_EQ(output(), std::nullopt);
    }
}

TEST_F(Cr3Repairs, EntrySizesOneOffAreNoLandmarks) {
    for (const auto& [box, size] : {std::pair{"trak1/entry", 111U},
                                    {"trak1/entry", 113U},
                                    {"trak3/entry", 227U},
                                    {"trak3/entry", 229U}}) {
        Bytes damaged = damaged_photo.bytes;
        put_u32(damaged, damaged_photo.at(box), size, kBig);
        EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), -1092) << box << size;
    }
}

TEST_F(Cr3Repairs, MetadataEntryBeforeTheSecondLandmarkDoesNotCount) {
    Bytes damaged = damaged_without("trak4/entry");
    put_text(damaged, damaged_photo.at("trak3/entry") - 8, "CTMD");
    EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), -1092);
    EXPECT_THAT(lines(), ElementsAre(kNoBox));
}

TEST_F(Cr3Repairs, MetadataEntryMayHaveAnySize) {
    expect_repaired(
        damaged_with([&](Bytes& bytes) { put_u32(bytes, damaged_photo.at("trak4/entry"), 0, kBig); }));
}

// Tables of the damaged file.

TEST_F(Cr3Repairs, MissingTableReachesTheHostAsAnException) {
    // Track 2's tables follow and would be taken for those of track 1: they go too.
    const auto without_both = [&](const std::string& table) {
        Bytes bytes = damaged_without("trak1/" + table);
        put_text(bytes, damaged_photo.at("trak2/" + table) + 4, "????");
        return bytes;
    };
    for (const Bytes& damaged : {without_both("stsz"), without_both("co64"), damaged_without("trak3/stsz"),
                                 damaged_without("trak3/co64")}) {
        EXPECT_EQ(escaping(damaged, sample_photo.bytes), "Data can not found");
        EXPECT_THAT(lines(), IsEmpty());
        EXPECT_EQ(output(), std::nullopt);
    }
}

TEST_F(Cr3Repairs, FirstTablesOfARangeCountWhoseverTheyAre) {
    // The bytes "co64" in a box of another kind, with track 2's place after them.
    const std::size_t place = damaged_photo.at("trak1/entry") + 40;
    const Bytes damaged = damaged_with([&](Bytes& bytes) {
        put_text(bytes, place, "co64");
        put_u32(bytes, place + 16, static_cast<std::uint32_t>(damaged_photo.tracks[1].offset), kBig);
    });
    EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), 0);
    const std::size_t from = damaged_photo.tracks[1].offset;
    EXPECT_EQ(output(), expected_cr3(sample_photo, part(damaged, from, from + damaged_photo.tracks[0].size),
                                     damaged_photo.track(3)));
}

TEST_F(Cr3Repairs, TableCutByTheEndOfTheFileIsOutOfRange) {
    // The last landmark is right after a "co64", and the file ends there.
    const std::size_t co64 = damaged_photo.at("trak3/co64") + 4;
    for (const std::size_t size : {co64 + 8, co64 + 19}) {
        Bytes damaged = part(damaged_photo.bytes, 0, size);
        put_text(damaged, co64 + 4, "CTMD");
        reset_stand_ins();
        EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), -1094);
        EXPECT_THAT(lines(), ElementsAre(kOutOfRange));
    }
}

// Image data of the damaged file.

TEST_F(Cr3Repairs, OneByteMustBeAfterTrack3) {
    const auto cut = [&](std::size_t more) {
        const auto& track = damaged_photo.tracks[2];
        return part(damaged_photo.bytes, 0, track.offset + track.size + more);
    };
    EXPECT_EQ(advance("cr3", cut(0), sample_photo.bytes), -1094);
    EXPECT_THAT(lines(), ElementsAre(kNoImage));
    expect_repaired(cut(1));
}

TEST_F(Cr3Repairs, TrackPastTheEndIsVisitingBeyond) {
    const auto size = static_cast<std::uint32_t>(damaged_photo.bytes.size());
    for (const unsigned n : {1U, 3U}) {
        for (const std::uint32_t offset : {size, size + 1, 0xFFFFFFFFU}) {
            const Bytes damaged = damaged_with(
                [&](Bytes& bytes) { put_u32(bytes, damaged_photo.offset_entry(n), offset, kBig); });
            reset_stand_ins();
            EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), -1094) << n << " " << offset;
            EXPECT_THAT(lines(), ElementsAre(kNoImage));
            EXPECT_EQ(output(), std::nullopt);
        }
    }
}

TEST_F(Cr3Repairs, LengthThatWrapsTheEndIsOutOfRange) {
    for (const unsigned n : {1U, 3U}) {
        const Bytes damaged = damaged_with(
            [&](Bytes& bytes) { put_u32(bytes, damaged_photo.size_entry(n), 0xFFFFFFFF, kBig); });
        reset_stand_ins();
        EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), -1094) << n;
        EXPECT_THAT(lines(), ElementsAre(kOutOfRange));
    }
}

TEST_F(Cr3Repairs, TrackAtTheStartOfTheFileIsOutOfRangeUnlessItIsEmpty) {
    for (const unsigned n : {1U, 3U}) {
        Bytes damaged =
            damaged_with([&](Bytes& bytes) { put_u32(bytes, damaged_photo.offset_entry(n), 0, kBig); });
        reset_stand_ins();
        EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), -1094) << n;
        EXPECT_THAT(lines(), ElementsAre(kOutOfRange));
        put_u32(damaged, damaged_photo.size_entry(n), 0, kBig);
        EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), 0) << n;
        EXPECT_EQ(output(), expected_cr3(sample_photo, n == 1 ? Bytes{} : damaged_photo.track(1),
                                         n == 3 ? Bytes{} : damaged_photo.track(3)));
    }
}

TEST_F(Cr3Repairs, HighWordsOfOffsetsAreNotRead) {
    expect_repaired(damaged_with([&](Bytes& bytes) {
        put_u32(bytes, damaged_photo.offset_entry(1) - 4, 0xFFFFFFFF, kBig);
        put_u32(bytes, damaged_photo.offset_entry(3) - 4, 7, kBig);
    }));
}

TEST_F(Cr3Repairs, Track3MayBeBeforeTrack1) {
    // The damaged file's tracks are taken from where they are, in any order.
    const Bytes damaged = damaged_with([&](Bytes& bytes) {
        put_u32(bytes, damaged_photo.offset_entry(1),
                static_cast<std::uint32_t>(damaged_photo.tracks[2].offset), kBig);
        put_u32(bytes, damaged_photo.offset_entry(3),
                static_cast<std::uint32_t>(damaged_photo.tracks[0].offset), kBig);
    });
    EXPECT_EQ(advance("cr3", damaged, sample_photo.bytes), 0);
    const std::size_t first = damaged_photo.tracks[2].offset;
    const std::size_t third = damaged_photo.tracks[0].offset;
    EXPECT_EQ(output(), expected_cr3(sample_photo, part(damaged, first, first + damaged_photo.tracks[0].size),
                                     part(damaged, third, third + damaged_photo.tracks[2].size)));
}

// Inputs that are directories or one byte long.

TEST_F(Cr3Repairs, SampleThatIsADirectoryIsOutOfRange) {
    fs::create_directory(folder / "sample.cr3");
    EXPECT_EQ(advance("cr3", damaged_photo.bytes, std::nullopt), -1094);
    EXPECT_THAT(lines(), ElementsAre(kOutOfRange));
}

TEST_F(Cr3Repairs, DamagedFileOfOneByteHasLostItsBoxes) {
    EXPECT_EQ(advance("cr3", Bytes{1}, sample_photo.bytes), -1092);
    EXPECT_THAT(lines(), ElementsAre(kNoBox));
}

// Failures in the sample.

TEST_F(Cr3Repairs, SampleWithAWrongBoxIsIllegal) {
    for (const char* box : {"ftyp", "CNCV", "CCDT2", "THMB", "trak3", "trak4/co64", "xmp", "PRVW", "mdat"}) {
        const Bytes sample =
            sample_with([&](Bytes& bytes) { put_text(bytes, sample_photo.at(box) + 4, "????"); });
        reset_stand_ins();
        EXPECT_EQ(advance("cr3", damaged_photo.bytes, sample), -1095) << box;
        EXPECT_THAT(lines(), ElementsAre(kIllegalSample));
        EXPECT_EQ(output(), std::nullopt);
    }
}

TEST_F(Cr3Repairs, SampleWithBytesInTheFreeOfMoovIsIllegal) {
    const Bytes sample = sample_with([&](Bytes& bytes) { bytes[sample_photo.at("free") + 8] = 1; });
    EXPECT_EQ(advance("cr3", damaged_photo.bytes, sample), -1095);
    EXPECT_THAT(lines(), ElementsAre(kIllegalSample));
}

TEST_F(Cr3Repairs, SampleWhoseTracksOverlapIsMismatching) {
    const Bytes sample = sample_with([&](Bytes& bytes) {
        put_u32(bytes, sample_photo.offset_entry(3),
                static_cast<std::uint32_t>(sample_photo.tracks[2].offset) - 1, kBig);
    });
    EXPECT_EQ(advance("cr3", damaged_photo.bytes, sample), -1093);
    EXPECT_THAT(lines(), ElementsAre(kMismatchingSample));
    EXPECT_EQ(output(), std::nullopt);
}

TEST_F(Cr3Repairs, SampleThatIsCutIsOutOfRange) {
    for (const std::size_t size : {std::size_t{1}, sample_photo.at("THMB") + 30, sample_photo.at("mdat") + 3,
                                   sample_photo.bytes.size() - 1}) {
        reset_stand_ins();
        EXPECT_EQ(advance("cr3", damaged_photo.bytes, part(sample_photo.bytes, 0, size)), -1094) << size;
        EXPECT_THAT(lines(), ElementsAre(kOutOfRange));
    }
}

// What leaves the repair.

TEST_F(Cr3Repairs, OutputInAMissingDirectoryReachesTheHostAsAnException) {
    write_file(folder / "damaged.cr3", damaged_photo.bytes);
    write_file(folder / "sample.cr3", sample_photo.bytes);
    try {
        advance(folder / "damaged.cr3", folder / "sample.cr3", folder / "missing" / "output.cr3");
        FAIL() << "no exception";
    } catch (const std::exception& exception) {
        EXPECT_STREQ(exception.what(), "Visiting beyond boundaries");
    }
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(Cr3Repairs, RepairWorksAfterAnExceptionLeftOne) {
    EXPECT_EQ(escaping(damaged_without("trak3/stsz"), sample_photo.bytes), "Data can not found");
    expect_repaired(damaged_photo.bytes);
    EXPECT_THAT(lines(), ElementsAre(kLog.repaired));
}

} // namespace
} // namespace test
