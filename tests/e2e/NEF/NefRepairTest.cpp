#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/Jpeg.h"
#include "support/NefPhoto.h"
#include "support/RawDecode.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using ::testing::ElementsAre;

const RepairLog kLog = repair_log("nef");

auto sample_failed(const std::string& reason) {
    return ElementsAre(kLog.cloned, kLog.failed("nef sample repaired failed, reason is " + reason));
}
auto damaged_failed(const std::string& reason) {
    return ElementsAre(kLog.cloned, kLog.failed("nef damaged repaired failed, reason is " + reason));
}
auto raw_not_found() {
    return ElementsAre(kLog.cloned, kLog.failed("nef cannot find raw offset, reason is Data can not found"));
}

/// A big-endian entry.
Bytes big_entry(std::uint16_t tag, std::uint16_t type, std::uint32_t count, std::uint32_t value) {
    return entry_bytes(tag, type, count, value, ByteOrder::kBig);
}

/// A sample and a damaged photograph from one camera, with different offsets of the raw data.
class NefRepairs : public RepairFixture {
  protected:
    NefPhoto sample_photo{NefPhoto::Options{.number = 1}};
    NefPhoto damaged_photo{NefPhoto::Options{.number = 2, .maker_notes = 4096}};
    std::uint32_t main_entry = damaged_photo.raw_ifd.entry(254);
    std::uint32_t strip_entry = damaged_photo.raw_ifd.entry(273);
    std::uint32_t sample_size = static_cast<std::uint32_t>(sample_photo.bytes.size());

    /// The damaged photograph with nothing left but its raw image's directory and the raw data.
    Bytes headless = zeroed(damaged_photo.bytes, 0, main_entry);

    /// Repairs with a sample in which a number of four bytes is another.
    std::int32_t advance_with_sample(std::size_t offset, std::uint32_t value) {
        Bytes sample = sample_photo.bytes;
        put_u32(sample, offset, value, ByteOrder::kBig);
        return advance("nef", damaged_photo.bytes, sample);
    }
};

// The picture is the judge.

class NefPicture : public RepairFixture,
                   public ::testing::WithParamInterface<std::tuple<ByteOrder, unsigned>> {
  protected:
    ByteOrder order = std::get<0>(GetParam());
    unsigned bits = std::get<1>(GetParam());
};

INSTANTIATE_TEST_SUITE_P(Kinds, NefPicture,
                         ::testing::Combine(::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                                            ::testing::Values(12U, 14U)),
                         [](const auto& kind) {
                             return std::string(std::get<0>(kind.param) == ByteOrder::kBig ? "MM" : "II") +
                                    std::to_string(std::get<1>(kind.param));
                         });

TEST_P(NefPicture, IsRepairedWithEverythingBeforeTheSecondSubDirectoryDestroyed) {
    const NefPhoto sample(NefPhoto::Options{.order = order, .number = 1, .bits = bits});
    const NefPhoto original(
        NefPhoto::Options{.order = order, .number = 2, .bits = bits, .maker_notes = 4096});
    const std::uint32_t main_entry = original.raw_ifd.entry(254);
    const std::uint32_t strip_entry = original.raw_ifd.entry(273);
    for (const Bytes& head : {Bytes(main_entry), noise(main_entry, 7)}) {
        Bytes damaged = original.bytes;
        put_bytes(damaged, 0, head);
        // Only the two entries and the raw data must survive.
        damaged = zeroed(damaged, main_entry + 12, strip_entry);
        put_bytes(damaged, strip_entry + 12, noise(original.raw_offset - strip_entry - 12, 8));
        ASSERT_EQ(decode_raw(damaged), std::nullopt);
        ASSERT_EQ(advance("nef", damaged, sample.bytes), 0);
        EXPECT_EQ(output(), expected_output(sample, original, damaged));
        const auto picture = decode_raw(output_path);
        ASSERT_TRUE(picture.has_value());
        EXPECT_EQ(picture, decode_raw(original.bytes));
        EXPECT_NE(picture, decode_raw(sample.bytes));
    }
}

TEST_F(NefRepairs, PreviewOfTheSampleIsSpoiled) {
    EXPECT_EQ(advance("nef", damaged_photo.bytes, sample_photo.bytes), 0);
    ASSERT_TRUE(output().has_value());
    const std::uint32_t begin = sample_photo.preview_offset;
    const std::uint32_t end =
        begin + get_u32(sample_photo.bytes, sample_photo.preview_ifd.value(514), ByteOrder::kBig);
    EXPECT_TRUE(jpeg_decodes(part(sample_photo.bytes, begin, end)));
    EXPECT_FALSE(jpeg_decodes(part(*output(), begin, end)));
}

TEST_F(NefRepairs, ByteCountInTheOutputStaysTheSamples) {
    const NefPhoto lower(NefPhoto::Options{.number = 2, .height = 80});
    EXPECT_EQ(advance("nef", lower.bytes, sample_photo.bytes), 0);
    ASSERT_TRUE(output().has_value());
    EXPECT_EQ(get_u32(*output(), sample_photo.raw_ifd.value(279), ByteOrder::kBig), sample_photo.raw_size);
}

TEST_F(NefRepairs, WhateverFollowsTheRawDataIsInTheOutput) {
    const Bytes damaged = joined(headless, noise(5000, 3));
    EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged));
    EXPECT_EQ(decode_raw(output_path), decode_raw(damaged_photo.bytes));
}

// The scan of the damaged file.

TEST_F(NefRepairs, PreviewDirectoriesAreSkipped) {
    // IFD 0 and the first sub-directory begin with a NewSubfileType of 1.
    EXPECT_EQ(advance("nef", damaged_photo.bytes, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged_photo.bytes));
}

TEST_F(NefRepairs, FalseHitsBeforeTheTrueOneAreSkipped) {
    Bytes damaged = headless;
    put_bytes(damaged, 100, big_entry(254, 0, 1, 0));        // No type.
    put_bytes(damaged, 200, big_entry(254, 13, 1, 0));       // Above the types.
    put_bytes(damaged, 300, big_entry(254, 4, 0, 0));        // No values.
    put_bytes(damaged, 400, big_entry(254, 4, 1, 1));        // A preview.
    put_bytes(damaged, 501, {0, 0xFE, 0, 0xFE, 0, 0xFE, 0}); // The tag alone, at odd places.
    put_bytes(damaged, main_entry - 2, {0, 0xFE});           // Right before the true one.
    EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged));
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.repaired)) << "silently";
}

TEST_F(NefRepairs, FirstWellFormedEntryOfValueZeroIsTakenWhereverItIs) {
    Bytes damaged = headless;
    put_bytes(damaged, 0, big_entry(254, 12, 0xFFFFFFFF, 0));
    put_bytes(damaged, 500, big_entry(273, 1, 2, 5000));
    EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), joined(part(blanked(sample_photo.bytes, sample_photo), 0, sample_photo.raw_offset),
                               part(damaged, 5000, damaged.size())));
}

TEST_F(NefRepairs, DamagedFileWithoutAnEntryOfValueZeroIsNotFound) {
    Bytes damaged = zeroed(headless, damaged_photo.raw_offset, headless.size());
    put_u32(damaged, main_entry + 8, 1, ByteOrder::kBig);
    EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), -1063);
    EXPECT_THAT(lines(), raw_not_found());
    EXPECT_EQ(output(), std::nullopt);
    EXPECT_EQ(work_file("temp.nef"), blanked(sample_photo.bytes, sample_photo));
}

TEST_F(NefRepairs, DamagedFileWithoutTheTagIsNotFound) {
    for (const std::size_t size : {1U, 2U, 1000U}) {
        reset_stand_ins();
        EXPECT_EQ(advance("nef", Bytes(size), sample_photo.bytes), -1063);
        EXPECT_THAT(lines(), raw_not_found());
    }
}

TEST_F(NefRepairs, GoodEntryWithoutStripOffsetsAfterItIsNotFound) {
    Bytes damaged(1000);
    put_bytes(damaged, 100, big_entry(273, 4, 1, 500)); // Before it does not count.
    put_bytes(damaged, 200, big_entry(254, 4, 1, 0));
    EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), -1063);
    EXPECT_THAT(lines(), raw_not_found());
}

TEST_F(NefRepairs, FalseStripOffsetsAfterAGoodEntryEndTheRepair) {
    // A whole pair after it is not looked for.
    for (const auto& [type, count] : {std::pair{13U, 1U}, {0U, 1U}, {4U, 0U}}) {
        Bytes damaged = headless;
        put_bytes(damaged, 100, big_entry(254, 4, 1, 0));
        put_bytes(damaged, 200, big_entry(273, static_cast<std::uint16_t>(type), count, 5000));
        reset_stand_ins();
        EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), -1064);
        EXPECT_THAT(lines(), damaged_failed("Data is illegal"));
    }
}

TEST_F(NefRepairs, HitWithinTheLastElevenBytesIsOutOfRange) {
    for (std::size_t left = 2; left < 12; ++left) {
        Bytes damaged(1000);
        put_bytes(damaged, damaged.size() - left, {0x00, 0xFE});
        reset_stand_ins();
        EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), -1064) << left;
        EXPECT_THAT(lines(), damaged_failed("Access out of range")) << left;
    }
}

TEST_F(NefRepairs, HitTwelveBytesBeforeTheEndIsJudged) {
    Bytes damaged(1000);
    put_bytes(damaged, damaged.size() - 12, {0x00, 0xFE});
    EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), -1063);
    EXPECT_THAT(lines(), raw_not_found());
}

TEST_F(NefRepairs, StripOffsetsWithinTheLastElevenBytesAreOutOfRange) {
    for (std::size_t left = 2; left < 12; ++left) {
        Bytes damaged(1000);
        put_bytes(damaged, 100, big_entry(254, 4, 1, 0));
        put_bytes(damaged, damaged.size() - left, {0x01, 0x11});
        reset_stand_ins();
        EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), -1064) << left;
        EXPECT_THAT(lines(), damaged_failed("Access out of range")) << left;
    }
    Bytes damaged(1000);
    put_bytes(damaged, 100, big_entry(254, 4, 1, 0));
    put_bytes(damaged, damaged.size() - 12, big_entry(273, 4, 1, 990));
    EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), 0);
}

TEST_F(NefRepairs, DamagedFileIsReadInTheSamplesByteOrder) {
    const NefPhoto little(NefPhoto::Options{.order = ByteOrder::kLittle, .number = 2});
    const Bytes damaged = zeroed(little.bytes, little.thumbnail_offset, little.bytes.size());
    EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), -1063);
    EXPECT_THAT(lines(), raw_not_found());
    // Its own header says nothing.
    Bytes other_mark = damaged_photo.bytes;
    put_text(other_mark, 0, "II");
    EXPECT_EQ(advance("nef", other_mark, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, other_mark));
}

TEST_F(NefRepairs, ShortValueOfABigEndianFileIsShifted) {
    Bytes damaged = headless;
    put_bytes(damaged, strip_entry, big_entry(273, 3, 1, 1U << 16U));
    EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), -1065) << "65536 is past the end";
    damaged.resize(65536 + 10);
    EXPECT_EQ(advance("nef", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), joined(part(blanked(sample_photo.bytes, sample_photo), 0, sample_photo.raw_offset),
                               part(damaged, 65536, damaged.size())));
}

// Failures in the sample.

TEST_F(NefRepairs, SampleWithItsFirstDirectoryPastItsEndHasNoStrip) {
    EXPECT_EQ(advance_with_sample(4, sample_size), -1062);
    EXPECT_THAT(lines(), sample_failed("Data can not found"));
}

TEST_F(NefRepairs, SampleWithoutSubIfdsIsNotFoundAndItsThumbnailIsBlanked) {
    Bytes sample = zeroed(sample_photo.bytes, sample_photo.raw_offset, sample_photo.bytes.size());
    put_u16(sample, sample_photo.ifd0.entry(330), 331, ByteOrder::kBig);
    EXPECT_EQ(advance("nef", damaged_photo.bytes, sample), -1062);
    EXPECT_THAT(lines(), sample_failed("Data can not found"));
    EXPECT_EQ(work_file("temp.nef"), zeroed(sample, sample_photo.thumbnail_offset,
                                            sample_photo.thumbnail_offset + sample_photo.thumbnail_size));
}

TEST_F(NefRepairs, SampleWithOneSubDirectoryIsOutOfRangeAndItsPreviewIsBlanked) {
    Bytes sample = sample_photo.bytes;
    put_bytes(sample, sample_photo.ifd0.entry(330), big_entry(330, 4, 1, sample_photo.preview_ifd.offset));
    EXPECT_EQ(advance("nef", damaged_photo.bytes, sample), -1062);
    EXPECT_THAT(lines(), sample_failed("Access out of range"));
    EXPECT_EQ(work_file("temp.nef"), blanked(sample, sample_photo));
    EXPECT_EQ(read_file(sample_path), sample) << "the user's file is not touched";
}

TEST_F(NefRepairs, SampleWithThreeSubDirectoriesIsReadByItsSecond) {
    Bytes sample = sample_photo.bytes;
    const std::uint32_t list = sample_photo.sub_ifds_list + 8;
    ASSERT_EQ(part(sample, list, list + 12), Bytes(12, 0x20)) << "maker notes stand there";
    put_u32(sample, list, sample_photo.preview_ifd.offset, ByteOrder::kBig);
    put_u32(sample, list + 4, sample_photo.raw_ifd.offset, ByteOrder::kBig);
    put_bytes(sample, sample_photo.ifd0.entry(330), big_entry(330, 4, 3, list));
    EXPECT_EQ(advance("nef", damaged_photo.bytes, sample), 0);
    EXPECT_EQ(output(),
              joined(part(blanked(sample, sample_photo), 0, sample_photo.raw_offset),
                     part(damaged_photo.bytes, damaged_photo.raw_offset, damaged_photo.bytes.size())));
}

TEST_F(NefRepairs, SubIfdsListThatWrapsIsOutOfRange) {
    EXPECT_EQ(advance_with_sample(sample_photo.ifd0.value(330), 0), -1062);
    EXPECT_THAT(lines(), sample_failed("Access out of range"));
}

TEST_F(NefRepairs, SubIfdsListPastTheEndIsOutOfRange) {
    EXPECT_EQ(advance_with_sample(sample_photo.ifd0.value(330), sample_size - 7), -1062);
    EXPECT_THAT(lines(), sample_failed("Access out of range"));
}

TEST_F(NefRepairs, FirstHitInTheSampleMustBeGood) {
    Bytes sample = sample_photo.bytes;
    put_bytes(sample, sample_photo.ifd0.value(256), {0x01, 0x11, 0xFF, 0xFF});
    EXPECT_EQ(advance("nef", damaged_photo.bytes, sample), -1062);
    EXPECT_THAT(lines(), sample_failed("Data is illegal"));
    EXPECT_EQ(work_file("temp.nef"), sample);
}

TEST_F(NefRepairs, ThumbnailOfNoBytesIsNoError) {
    EXPECT_EQ(advance_with_sample(sample_photo.ifd0.value(279), 0), 0);
    ASSERT_TRUE(output().has_value());
    const auto thumbnail = [this](const Bytes& file) {
        return part(file, sample_photo.thumbnail_offset,
                    sample_photo.thumbnail_offset + sample_photo.thumbnail_size);
    };
    EXPECT_EQ(thumbnail(*output()), thumbnail(sample_photo.bytes));
}

TEST_F(NefRepairs, ThumbnailThatReachesTheEndIsOutOfRangeAndZeroed) {
    Bytes sample = sample_photo.bytes;
    put_u32(sample, sample_photo.ifd0.value(273), sample_size - 5, ByteOrder::kBig);
    put_u32(sample, sample_photo.ifd0.value(279), 4, ByteOrder::kBig);
    EXPECT_EQ(advance("nef", damaged_photo.bytes, sample), 0);

    put_u32(sample, sample_photo.ifd0.value(279), 5, ByteOrder::kBig);
    reset_stand_ins();
    EXPECT_EQ(advance("nef", damaged_photo.bytes, sample), -1062);
    EXPECT_THAT(lines(), sample_failed("Access out of range"));
    EXPECT_EQ(work_file("temp.nef"), zeroed(sample, sample_size - 5, sample_size));
}

TEST_F(NefRepairs, PreviewNearTheEndIsOutOfRangeAndNeverVisitingBeyond) {
    const std::uint32_t preview = sample_photo.preview_ifd.value(513);
    EXPECT_EQ(advance_with_sample(preview, sample_size - 31), 0);
    for (const std::uint32_t value :
         {sample_size - 30, sample_size - 29, sample_size - 1, sample_size, 0xFFFFFFFFU}) {
        reset_stand_ins();
        EXPECT_EQ(advance_with_sample(preview, value), -1062) << value;
        EXPECT_THAT(lines(), sample_failed("Access out of range"));
    }
}

// The merge.

class NefMerge : public NefRepairs {
  protected:
    /// Repairs with other offsets of the raw data than the true ones.
    std::int32_t repair_with(std::uint32_t sample_raw, std::uint32_t damaged_raw) {
        Bytes sample = sample_photo.bytes;
        damaged = damaged_photo.bytes;
        put_u32(sample, sample_photo.raw_ifd.value(273), sample_raw, ByteOrder::kBig);
        put_u32(damaged, strip_entry + 8, damaged_raw, ByteOrder::kBig);
        patched = blanked(sample, sample_photo);
        return advance("nef", damaged, sample);
    }

    [[nodiscard]] static auto merge_failed() {
        return ElementsAre(kLog.cloned, kLog.failed("nef merge data failed, reason is Access out of range"));
    }

    std::uint32_t damaged_size = static_cast<std::uint32_t>(damaged_photo.bytes.size());
    Bytes damaged;
    Bytes patched; ///< What the working copy holds after all patches.
};

TEST_F(NefMerge, SampleOffsetOneBeforeItsEndAndAtItsEndSucceeds) {
    for (const std::uint32_t offset : {sample_size - 1, sample_size}) {
        EXPECT_EQ(repair_with(offset, damaged_photo.raw_offset), 0);
        EXPECT_EQ(output(),
                  joined(part(patched, 0, offset), part(damaged, damaged_photo.raw_offset, damaged.size())));
    }
}

TEST_F(NefMerge, SampleOffsetPastItsEndLeavesNoOutputAndThePatchedWorkingCopy) {
    for (const std::uint32_t offset : {sample_size + 1, 0xFFFFFFFFU}) {
        reset_stand_ins();
        EXPECT_EQ(repair_with(offset, damaged_photo.raw_offset), -1065);
        EXPECT_THAT(lines(), merge_failed());
        EXPECT_EQ(output(), std::nullopt);
        EXPECT_EQ(work_file("temp.nef"), patched);
    }
}

TEST_F(NefMerge, SampleOffsetZeroStillCreatesTheOutput) {
    EXPECT_EQ(repair_with(0, damaged_photo.raw_offset), 0);
    EXPECT_EQ(output(), part(damaged, damaged_photo.raw_offset, damaged.size()));
    reset_stand_ins();
    EXPECT_EQ(repair_with(0, damaged_size + 1), -1065);
    EXPECT_EQ(output(), Bytes{});
}

TEST_F(NefMerge, DamagedOffsetOneBeforeItsEndAndAtItsEndSucceeds) {
    for (const std::uint32_t offset : {damaged_size - 1, damaged_size}) {
        EXPECT_EQ(repair_with(sample_photo.raw_offset, offset), 0);
        EXPECT_EQ(output(),
                  joined(part(patched, 0, sample_photo.raw_offset), part(damaged, offset, damaged.size())));
    }
}

TEST_F(NefMerge, DamagedOffsetPastItsEndLeavesTheSamplesPart) {
    for (const std::uint32_t offset : {damaged_size + 1, 0xFFFFFFFFU}) {
        reset_stand_ins();
        EXPECT_EQ(repair_with(sample_photo.raw_offset, offset), -1065);
        EXPECT_THAT(lines(), merge_failed());
        EXPECT_EQ(output(), part(patched, 0, sample_photo.raw_offset));
        EXPECT_EQ(work_file("temp.nef"), patched);
    }
}

} // namespace
} // namespace test
