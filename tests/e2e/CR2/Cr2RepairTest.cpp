#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/Cr2Photo.h"
#include "support/Jpeg.h"
#include "support/RawDecode.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using ::testing::ElementsAre;

const RepairLog kLog = repair_log("cr2");

auto sample_failed(const std::string& reason) {
    return ElementsAre(kLog.cloned, kLog.failed("CR2 sample repaired failed, reason is " + reason));
}
auto damaged_failed(const std::string& reason) {
    return ElementsAre(kLog.cloned, kLog.failed("CR2 damaged repaired failed, reason is " + reason));
}

/// Two little-endian entries side by side.
Bytes entry_pair(std::uint16_t first_tag, std::uint16_t first_type, std::uint32_t first_value,
                 std::uint16_t tag, std::uint16_t type, std::uint32_t count, std::uint32_t value) {
    return joined(entry_bytes(first_tag, first_type, 1, first_value), entry_bytes(tag, type, count, value));
}

/// A sample and a damaged photograph from one camera, with different offsets of the raw data.
class Cr2Repairs : public RepairFixture {
  protected:
    Cr2Photo sample_photo{Cr2Photo::Options{.number = 1}};
    Cr2Photo damaged_photo{Cr2Photo::Options{.number = 2, .maker_notes = 4096}};
    std::uint32_t raw_entry = damaged_photo.raw_ifd.entry(273);
    std::uint32_t sample_size = static_cast<std::uint32_t>(sample_photo.bytes.size());

    /// The damaged photograph with nothing left but its raw image's directory from StripOffsets on and
    /// the raw data.
    Bytes headless = zeroed(damaged_photo.bytes, 0, raw_entry);

    /// Repairs with a sample in which a number of four bytes is another.
    std::int32_t advance_with_sample(std::size_t offset, std::uint32_t value) {
        Bytes sample = sample_photo.bytes;
        put_u32(sample, offset, value, ByteOrder::kLittle);
        return advance("cr2", damaged_photo.bytes, sample);
    }
};

// The picture is the judge.

class Cr2Picture : public RepairFixture, public ::testing::WithParamInterface<ByteOrder> {};

INSTANTIATE_TEST_SUITE_P(ByteOrders, Cr2Picture, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         [](const auto& order) { return order.param == ByteOrder::kBig ? "MM" : "II"; });

TEST_P(Cr2Picture, IsRepairedWithEverythingBeforeTheRawStripEntriesDestroyed) {
    const Cr2Photo sample(Cr2Photo::Options{.order = GetParam(), .number = 1});
    const Cr2Photo original(Cr2Photo::Options{.order = GetParam(), .number = 2, .maker_notes = 4096});
    const std::uint32_t raw_entry = original.raw_ifd.entry(273);
    for (const Bytes& head : {Bytes(raw_entry), noise(raw_entry, 7)}) {
        Bytes damaged = original.bytes;
        put_bytes(damaged, 0, head);
        // After the two entries only the raw data must survive.
        put_bytes(damaged, raw_entry + 24, noise(original.raw_offset - raw_entry - 24, 8));
        ASSERT_EQ(decode_raw(damaged), std::nullopt);
        ASSERT_EQ(advance("cr2", damaged, sample.bytes), 0);
        EXPECT_EQ(output(), expected_output(sample, original, damaged));
        const auto picture = decode_raw(output_path);
        ASSERT_TRUE(picture.has_value());
        EXPECT_EQ(picture, decode_raw(original.bytes));
        EXPECT_NE(picture, decode_raw(sample.bytes));
    }
}

TEST_F(Cr2Repairs, PicturesOfTheSampleAreSpoiled) {
    const auto picture = [this](const Bytes& file, std::uint32_t offset, std::uint32_t size_at) {
        return part(file, offset, offset + get_u32(sample_photo.bytes, size_at, ByteOrder::kLittle));
    };
    EXPECT_EQ(advance("cr2", damaged_photo.bytes, sample_photo.bytes), 0);
    ASSERT_TRUE(output().has_value());
    const std::uint32_t preview_size = sample_photo.ifd0.value(279);
    const std::uint32_t thumbnail_size = sample_photo.ifd1.value(514);
    EXPECT_TRUE(jpeg_decodes(picture(sample_photo.bytes, sample_photo.preview_offset, preview_size)));
    EXPECT_FALSE(jpeg_decodes(picture(*output(), sample_photo.preview_offset, preview_size)));
    EXPECT_TRUE(jpeg_decodes(picture(sample_photo.bytes, sample_photo.thumbnail_offset, thumbnail_size)));
    EXPECT_FALSE(jpeg_decodes(picture(*output(), sample_photo.thumbnail_offset, thumbnail_size)));
}

TEST_F(Cr2Repairs, ByteCountInTheOutputStaysTheSamples) {
    ASSERT_NE(sample_photo.raw_size, damaged_photo.raw_size);
    EXPECT_EQ(advance("cr2", damaged_photo.bytes, sample_photo.bytes), 0);
    ASSERT_TRUE(output().has_value());
    EXPECT_EQ(get_u32(*output(), sample_photo.raw_ifd.value(279), ByteOrder::kLittle), sample_photo.raw_size);
}

TEST_F(Cr2Repairs, WhateverFollowsTheRawDataIsInTheOutput) {
    const Bytes damaged = joined(headless, noise(5000, 3));
    EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged));
    EXPECT_EQ(decode_raw(output_path), decode_raw(damaged_photo.bytes));
}

TEST_F(Cr2Repairs, RawDataCutShortAreCarriedAsFarAsTheyGo) {
    const Bytes damaged = part(headless, 0, headless.size() - damaged_photo.raw_size / 2);
    EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged));
}

// The scan of the damaged file.

TEST_F(Cr2Repairs, StripEntriesOfTheOtherDirectoriesAreSkipped) {
    // Other entries are between the two strip entries of IFD 0 and IFD 2, which both come first.
    ASSERT_LT(damaged_photo.ifd0.entry(273), damaged_photo.ifd2.entry(273));
    ASSERT_LT(damaged_photo.ifd2.entry(273), raw_entry);
    EXPECT_EQ(advance("cr2", damaged_photo.bytes, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged_photo.bytes));
}

TEST_F(Cr2Repairs, FalseHitsBeforeTheTrueOneAreSkipped) {
    Bytes damaged = headless;
    put_bytes(damaged, 100, entry_pair(273, 4, 1, 279, 3, 1, 9));  // A SHORT.
    put_bytes(damaged, 200, entry_pair(273, 4, 1, 279, 5, 1, 9));  // A RATIONAL.
    put_bytes(damaged, 300, entry_pair(273, 4, 1, 279, 4, 0, 9));  // No values.
    put_bytes(damaged, 400, entry_pair(273, 4, 1, 279, 4, 1, 0));  // A strip without bytes.
    put_bytes(damaged, 500, entry_pair(273, 4, 1, 278, 4, 1, 9));  // Another tag.
    put_bytes(damaged, 601, {0x11, 0x01, 0x11, 0x01, 0x11, 0x01}); // The tag alone, at odd places.
    put_bytes(damaged, raw_entry - 1, {0x11});
    EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged));
}

TEST_F(Cr2Repairs, TrueHitRightAfterAFalseOneIsFound) {
    Bytes damaged = headless;
    put_bytes(damaged, raw_entry - 2, {0x11, 0x01});
    EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged));
}

TEST_F(Cr2Repairs, FirstPairOfTheRightKindIsTakenWhereverItIs) {
    Bytes damaged = headless;
    put_bytes(damaged, 0, entry_pair(273, 4, 5000, 279, 4, 1, 1));
    EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), joined(part(blanked(sample_photo.bytes, sample_photo), 0, sample_photo.raw_offset),
                               part(damaged, 5000, damaged.size())));
}

TEST_F(Cr2Repairs, LostByteCountsEntryMakesTheRawDirectoryUnknown) {
    Bytes damaged = zeroed(headless, raw_entry + 12, raw_entry + 24);
    damaged = zeroed(damaged, damaged_photo.raw_offset, damaged.size()); // No false pair there either.
    EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), -1053);
    EXPECT_THAT(lines(), damaged_failed("Data can not found"));
    EXPECT_EQ(output(), std::nullopt);
    EXPECT_EQ(work_file("temp.cr2"), blanked(sample_photo.bytes, sample_photo));
}

TEST_F(Cr2Repairs, BadStripOffsetsEntryOfARightPairEndsTheRepair) {
    for (const std::size_t broken : {2U, 4U}) { // Its type, its count.
        reset_stand_ins();
        EXPECT_EQ(
            advance("cr2", zeroed(headless, raw_entry + broken, raw_entry + broken + 2), sample_photo.bytes),
            -1053);
        EXPECT_THAT(lines(), damaged_failed("Data is illegal"));
    }
    // A good pair after a bad one is not looked for.
    Bytes damaged = headless;
    put_bytes(damaged, 100, entry_pair(273, 13, 1, 279, 4, 1, 9));
    reset_stand_ins();
    EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), -1053);
    EXPECT_THAT(lines(), damaged_failed("Data is illegal"));
}

TEST_F(Cr2Repairs, HitWithinTheLastTwentyThreeBytesIsOutOfRange) {
    for (std::size_t left = 2; left < 24; ++left) {
        Bytes damaged(1000);
        put_bytes(damaged, damaged.size() - left, {0x11, 0x01});
        reset_stand_ins();
        EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), -1053) << left;
        EXPECT_THAT(lines(), damaged_failed("Access out of range")) << left;
    }
}

TEST_F(Cr2Repairs, HitTwentyFourBytesBeforeTheEndIsJudged) {
    Bytes damaged(1000);
    put_bytes(damaged, damaged.size() - 24, {0x11, 0x01});
    EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), -1053);
    EXPECT_THAT(lines(), damaged_failed("Data can not found"));

    put_bytes(damaged, damaged.size() - 24, entry_pair(273, 4, 990, 279, 4, 1, 10));
    EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), joined(part(blanked(sample_photo.bytes, sample_photo), 0, sample_photo.raw_offset),
                               part(damaged, 990, 1000)));
}

TEST_F(Cr2Repairs, DamagedFileWithoutTheTagIsNotFound) {
    for (const std::size_t size : {1U, 2U, 1000U}) {
        reset_stand_ins();
        EXPECT_EQ(advance("cr2", Bytes(size), sample_photo.bytes), -1053);
        EXPECT_THAT(lines(), damaged_failed("Data can not found"));
    }
}

TEST_F(Cr2Repairs, DamagedFileIsReadInTheSamplesByteOrder) {
    const Cr2Photo big(Cr2Photo::Options{.order = ByteOrder::kBig, .number = 2});
    const Bytes damaged = zeroed(big.bytes, big.raw_offset, big.bytes.size());
    EXPECT_EQ(advance("cr2", damaged, sample_photo.bytes), -1053);
    EXPECT_THAT(lines(), damaged_failed("Data can not found"));
    // Its own header says nothing.
    Bytes other_mark = damaged_photo.bytes;
    put_text(other_mark, 0, "MM");
    EXPECT_EQ(advance("cr2", other_mark, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, other_mark));
}

// Failures in the sample.

TEST_F(Cr2Repairs, SampleWithItsFirstDirectoryPastItsEndHasNoStrip) {
    EXPECT_EQ(advance_with_sample(4, sample_size), -1052);
    EXPECT_THAT(lines(), sample_failed("Data can not found"));
}

TEST_F(Cr2Repairs, SampleWithoutGpsInfoIsNotFound) {
    Bytes sample = zeroed(sample_photo.bytes, sample_photo.thumbnail_offset, sample_photo.bytes.size());
    put_u16(sample, sample_photo.ifd0.entry(34853), 34854, ByteOrder::kLittle);
    EXPECT_EQ(advance("cr2", damaged_photo.bytes, sample), -1052);
    EXPECT_THAT(lines(), sample_failed("Data can not found"));
}

TEST_F(Cr2Repairs, SampleWithoutGpsInfoFollowsALaterHitOfItsBytes) {
    Bytes sample = sample_photo.bytes;
    put_u16(sample, sample_photo.ifd0.entry(34853), 34854, ByteOrder::kLittle);
    // The maker notes hold what looks like the entry, and its link leads on.
    const std::uint32_t planted = sample_photo.ifd1.offset - 100;
    put_bytes(sample, planted, entry_pair(34853, 4, 0, 0, 0, 0, 0));
    put_u32(sample, planted + 12, sample_photo.ifd1.offset, ByteOrder::kLittle);
    EXPECT_EQ(advance("cr2", damaged_photo.bytes, sample), 0);
    EXPECT_EQ(output(),
              joined(part(blanked(sample, sample_photo), 0, sample_photo.raw_offset),
                     part(damaged_photo.bytes, damaged_photo.raw_offset, damaged_photo.bytes.size())));
}

TEST_F(Cr2Repairs, GpsInfoThatIsNotTheLastEntryLeadsAstray) {
    // The tags of the last two entries change places: the "link" is the start of the last entry.
    Bytes sample = sample_photo.bytes;
    put_u16(sample, sample_photo.ifd0.entry(34665), 34853, ByteOrder::kLittle);
    put_u16(sample, sample_photo.ifd0.entry(34853), 34665, ByteOrder::kLittle);
    EXPECT_EQ(advance("cr2", damaged_photo.bytes, sample), -1052);
    EXPECT_THAT(lines(), sample_failed("Data can not found"));
}

TEST_F(Cr2Repairs, FirstHitInTheSampleMustBeGood) {
    // Bytes of the tag inside a text of IFD 0, before the entry.
    Bytes sample = sample_photo.bytes;
    const std::uint32_t size_entry = sample_photo.ifd0.entry(256);
    put_bytes(sample, size_entry + 8, {0x11, 0x01, 0xFF, 0xFF});
    EXPECT_EQ(advance("cr2", damaged_photo.bytes, sample), -1052);
    EXPECT_THAT(lines(), sample_failed("Data is illegal"));
    EXPECT_EQ(work_file("temp.cr2"), sample);
}

TEST_F(Cr2Repairs, BigEndianCountOfTwoInIfd1IsTakenForATag) {
    // 00 02 and 02 01: with 02 02 one byte after the directory's start, no entry is there.
    const Cr2Photo photo(Cr2Photo::Options{.order = ByteOrder::kBig});
    Bytes sample = photo.bytes;
    put_u16(sample, photo.ifd1.offset, 2, ByteOrder::kBig);
    put_bytes(sample, photo.ifd1.offset + 2,
              part(photo.bytes, photo.ifd1.offset + 14, photo.ifd1.next_link + 4));
    EXPECT_EQ(advance("cr2", photo.bytes, sample), -1052);
    EXPECT_THAT(lines(), sample_failed("Data is illegal"));
}

TEST_F(Cr2Repairs, PreviewWithinTwentyNineBytesOfTheEndIsVisitingBeyond) {
    for (const std::uint32_t value : {sample_size - 29, sample_size - 1, sample_size, 0xFFFFFFFFU}) {
        for (const std::uint32_t at : {sample_photo.ifd0.value(273), sample_photo.ifd1.value(513)}) {
            reset_stand_ins();
            EXPECT_EQ(advance_with_sample(at, value), -1052);
            EXPECT_THAT(lines(), sample_failed("Visiting beyond boundaries"));
        }
    }
}

TEST_F(Cr2Repairs, PreviewThirtyBytesBeforeTheEndIsOutOfRangeAndBlanked) {
    Bytes sample = sample_photo.bytes;
    put_u32(sample, sample_photo.ifd0.value(273), sample_size - 30, ByteOrder::kLittle);
    EXPECT_EQ(advance("cr2", damaged_photo.bytes, sample), -1052);
    EXPECT_THAT(lines(), sample_failed("Access out of range"));
    EXPECT_EQ(work_file("temp.cr2"), zeroed(sample, sample_size - 30, sample_size));
    EXPECT_EQ(read_file(sample_path), sample) << "the user's file is not touched";

    EXPECT_EQ(advance_with_sample(sample_photo.ifd0.value(273), sample_size - 31), 0);
}

TEST_F(Cr2Repairs, WhatWasBlankedBeforeAFailureStays) {
    Bytes sample = sample_photo.bytes;
    put_u32(sample, sample_photo.ifd1.value(513), sample_size, ByteOrder::kLittle);
    EXPECT_EQ(advance("cr2", damaged_photo.bytes, sample), -1052);
    EXPECT_EQ(work_file("temp.cr2"),
              zeroed(sample, sample_photo.preview_offset, sample_photo.preview_offset + 30));
}

TEST_F(Cr2Repairs, StripOfIfd2ThatReachesTheEndIsOutOfRange) {
    const std::uint32_t counts = sample_photo.ifd2.value(279);
    EXPECT_EQ(advance_with_sample(counts, sample_size - sample_photo.small_offset - 1), 0);
    reset_stand_ins();
    EXPECT_EQ(advance_with_sample(counts, sample_size - sample_photo.small_offset), -1052);
    EXPECT_THAT(lines(), sample_failed("Access out of range"));
}

TEST_F(Cr2Repairs, StripOfIfd2PastTheEndIsVisitingBeyond) {
    EXPECT_EQ(advance_with_sample(sample_photo.ifd2.value(273), sample_size - 29), -1052);
    EXPECT_THAT(lines(), sample_failed("Visiting beyond boundaries"));
}

TEST_F(Cr2Repairs, SampleWithItsRawDirectoryPastItsEndIsNotFound) {
    EXPECT_EQ(advance_with_sample(12, sample_size), -1052);
    EXPECT_THAT(lines(), sample_failed("Data can not found"));
    EXPECT_THAT(work_files(), ElementsAre("temp.cr2"));
}

TEST_F(Cr2Repairs, RawDirectoryIsTheHeadersAndNotTheChains) {
    // The header names a directory of its own after the photograph, whose strip is elsewhere.
    Bytes sample = joined(sample_photo.bytes, entry_pair(273, 4, 7000, 279, 4, 1, 1));
    put_u32(sample, 12, sample_size, ByteOrder::kLittle);
    EXPECT_EQ(advance("cr2", damaged_photo.bytes, sample), 0);
    EXPECT_EQ(output(),
              joined(part(blanked(sample, sample_photo), 0, 7000),
                     part(damaged_photo.bytes, damaged_photo.raw_offset, damaged_photo.bytes.size())));
}

TEST_F(Cr2Repairs, VisitingBeyondIsReportedOnALineOfItsOwn) {
    const auto logged_line = [] {
        const std::string text = lines().back().text;
        const std::size_t begin = text.find("](") + 2;
        return text.substr(begin, text.find(')', begin) - begin);
    };
    EXPECT_EQ(advance_with_sample(sample_photo.ifd0.value(273), sample_size), -1052);
    const std::string visiting = logged_line();
    EXPECT_EQ(advance_with_sample(sample_photo.ifd0.value(273), sample_size - 30), -1052);
    const std::string out_of_range = logged_line();
    EXPECT_EQ(advance_with_sample(4, 0), -1052);
    EXPECT_EQ(logged_line(), out_of_range);
    EXPECT_NE(visiting, out_of_range);
}

// The merge.

class Cr2Merge : public Cr2Repairs {
  protected:
    /// Repairs with other offsets of the raw data than the true ones.
    std::int32_t repair_with(std::uint32_t sample_raw, std::uint32_t damaged_raw) {
        Bytes sample = sample_photo.bytes;
        damaged = damaged_photo.bytes;
        put_u32(sample, sample_photo.raw_ifd.value(273), sample_raw, ByteOrder::kLittle);
        put_u32(damaged, raw_entry + 8, damaged_raw, ByteOrder::kLittle);
        patched = blanked(sample, sample_photo);
        return advance("cr2", damaged, sample);
    }

    [[nodiscard]] static auto merge_failed() {
        return ElementsAre(kLog.cloned, kLog.failed("CR2 merge data failed, reason is Access out of range"));
    }

    std::uint32_t damaged_size = static_cast<std::uint32_t>(damaged_photo.bytes.size());
    Bytes damaged;
    Bytes patched; ///< What the working copy holds after all patches.
};

TEST_F(Cr2Merge, SampleOffsetOneBeforeItsEndAndAtItsEndSucceeds) {
    for (const std::uint32_t offset : {sample_size - 1, sample_size}) {
        EXPECT_EQ(repair_with(offset, damaged_photo.raw_offset), 0);
        EXPECT_EQ(output(),
                  joined(part(patched, 0, offset), part(damaged, damaged_photo.raw_offset, damaged.size())));
    }
}

TEST_F(Cr2Merge, SampleOffsetPastItsEndLeavesNoOutputAndThePatchedClone) {
    for (const std::uint32_t offset : {sample_size + 1, 0xFFFFFFFFU}) {
        reset_stand_ins();
        EXPECT_EQ(repair_with(offset, damaged_photo.raw_offset), -1054);
        EXPECT_THAT(lines(), merge_failed());
        EXPECT_EQ(output(), std::nullopt);
        EXPECT_EQ(work_file("temp.cr2"), patched);
    }
}

TEST_F(Cr2Merge, SampleOffsetZeroStillCreatesTheOutput) {
    EXPECT_EQ(repair_with(0, damaged_photo.raw_offset), 0);
    EXPECT_EQ(output(), part(damaged, damaged_photo.raw_offset, damaged.size()));
    reset_stand_ins();
    EXPECT_EQ(repair_with(0, damaged_size + 1), -1054);
    EXPECT_EQ(output(), Bytes{});
}

TEST_F(Cr2Merge, DamagedOffsetOneBeforeItsEndAndAtItsEndSucceeds) {
    for (const std::uint32_t offset : {damaged_size - 1, damaged_size}) {
        EXPECT_EQ(repair_with(sample_photo.raw_offset, offset), 0);
        EXPECT_EQ(output(),
                  joined(part(patched, 0, sample_photo.raw_offset), part(damaged, offset, damaged.size())));
    }
}

TEST_F(Cr2Merge, DamagedOffsetPastItsEndLeavesTheSamplesPart) {
    for (const std::uint32_t offset : {damaged_size + 1, 0xFFFFFFFFU}) {
        reset_stand_ins();
        EXPECT_EQ(repair_with(sample_photo.raw_offset, offset), -1054);
        EXPECT_THAT(lines(), merge_failed());
        EXPECT_EQ(output(), part(patched, 0, sample_photo.raw_offset));
        EXPECT_EQ(work_file("temp.cr2"), patched);
    }
}

} // namespace
} // namespace test
