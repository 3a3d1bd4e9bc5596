#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/ArwPhoto.h"
#include "support/RawDecode.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using ::testing::ElementsAre;

const RepairLog kLog = repair_log("arw");

/// A sample and a damaged photograph from one camera, with different image offsets.
class ArwRepairs : public RepairFixture {
  protected:
    ArwPhoto sample_photo{ArwPhoto::Options{.number = 1}};
    ArwPhoto damaged_photo{ArwPhoto::Options{.number = 2, .maker_notes = 4096}};
};

// The picture is the judge.

class ArwPicture : public RepairFixture, public ::testing::WithParamInterface<ByteOrder> {};

TEST_P(ArwPicture, IsRepairedWithEverythingBeforeTheStripEntriesDestroyed) {
    const ArwPhoto sample(ArwPhoto::Options{.order = GetParam(), .number = 1});
    const ArwPhoto original(ArwPhoto::Options{.order = GetParam(), .number = 2, .maker_notes = 4096});
    for (const Bytes& head : {Bytes(original.strip_entries), noise(original.strip_entries, 7)}) {
        Bytes damaged = original.bytes;
        put_bytes(damaged, 0, head);
        // After the three entries only the image must survive.
        put_bytes(damaged, original.strip_entries + 36,
                  noise(original.image_offset - original.strip_entries - 36, 8));
        ASSERT_EQ(decode_raw(damaged), std::nullopt);
        ASSERT_EQ(advance("arw", damaged, sample.bytes), 0);
        EXPECT_EQ(output(), expected_output(sample, original, damaged));
        const auto picture = decode_raw(output_path);
        ASSERT_TRUE(picture.has_value());
        EXPECT_EQ(picture, decode_raw(original.bytes));
        EXPECT_NE(picture, decode_raw(sample.bytes));
    }
}

INSTANTIATE_TEST_SUITE_P(ByteOrders, ArwPicture, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         [](const auto& order) { return order.param == ByteOrder::kBig ? "MM" : "II"; });

TEST_F(ArwRepairs, DamagedHeaderAloneIsRepaired) {
    const Bytes damaged = zeroed(damaged_photo.bytes, 0, 8);
    EXPECT_EQ(advance("arw", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged));
}

TEST_F(ArwRepairs, WhatFollowsTheImageIsKept) {
    const Bytes damaged = joined(damaged_photo.bytes, {1, 2, 3});
    EXPECT_EQ(advance("arw", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged));
}

TEST_F(ArwRepairs, FirstTripleInTheFileDecidesWhereverItIs) {
    // A triple of another image comes before the true one.
    Bytes damaged = damaged_photo.bytes;
    put_bytes(damaged, 1001, part(damaged, damaged_photo.strip_entries, damaged_photo.strip_entries + 36));
    put_u32(damaged, 1001 + 8, 5000, ByteOrder::kLittle);
    put_u32(damaged, 1001 + 24 + 8, 77, ByteOrder::kLittle);
    EXPECT_EQ(advance("arw", damaged, sample_photo.bytes), 0);
    Bytes expected = expected_output(sample_photo, damaged_photo, damaged);
    expected.resize(sample_photo.image_offset);
    put_u32(expected, sample_photo.strip_entries + 24 + 8, 77, ByteOrder::kLittle);
    EXPECT_EQ(output(), joined(expected, part(damaged, 5000, damaged.size())));
}

TEST_F(ArwRepairs, FalseHitsBeforeTheTripleAreSkipped) {
    Bytes damaged = zeroed(damaged_photo.bytes, 0, damaged_photo.strip_entries);
    for (std::size_t offset = 3; offset + 2 < damaged_photo.strip_entries; offset += 7) {
        put_bytes(damaged, offset, {0x11, 0x01});
    }
    EXPECT_EQ(advance("arw", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged));
}

TEST_F(ArwRepairs, SampleOfAnotherSizeIsNotNoticed) {
    const ArwPhoto other(ArwPhoto::Options{.number = 3, .width = 96, .height = 64});
    EXPECT_EQ(advance("arw", damaged_photo.bytes, other.bytes), 0);
    EXPECT_EQ(output(), expected_output(other, damaged_photo, damaged_photo.bytes));
}

// Failures in the sample.

TEST_F(ArwRepairs, SampleThatLacksATagGoesToStandardErrorAndToNoLog) {
    Bytes sample = sample_photo.bytes;
    put_u16(sample, sample_photo.ifd0.entry(330), 331, ByteOrder::kLittle); // No SubIFDs.
    const std::string text =
        standard_error_of([&] { EXPECT_EQ(advance("arw", damaged_photo.bytes, sample), -1126); });
    EXPECT_EQ(text, "Data can not found\n");
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned));
}

TEST_F(ArwRepairs, SampleWithADirectoryPastItsEnd) {
    Bytes sample = sample_photo.bytes;
    put_u32(sample, 4, static_cast<std::uint32_t>(sample.size()), ByteOrder::kLittle);
    EXPECT_EQ(advance("arw", damaged_photo.bytes, sample), -1123);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned,
                                     kLog.failed("sample parameter error is Visiting beyond boundaries")));
    EXPECT_THAT(work_files(), ElementsAre("temp.arw"));
}

TEST_F(ArwRepairs, SampleWithAPreviewPastItsEndKeepsWhatWasBlankedInTheWorkingCopy) {
    Bytes sample = sample_photo.bytes;
    put_u32(sample, sample_photo.ifd1.value(513), static_cast<std::uint32_t>(sample.size()),
            ByteOrder::kLittle);
    EXPECT_EQ(advance("arw", damaged_photo.bytes, sample), -1123);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("sample offset error is Access out of range")));
    const std::uint32_t preview = sample_photo.preview_offsets[0];
    EXPECT_EQ(work_file("temp.arw"), zeroed(sample, preview, preview + 30));
    EXPECT_EQ(read_file(sample_path), sample) << "the user's file is not touched";
}

TEST_F(ArwRepairs, PreviewsOfTheWorkingCopyAreBlankedOnlyAfterAllTagsAreRead) {
    Bytes sample = sample_photo.bytes;
    put_u16(sample, sample_photo.ifd2.entry(514), 515, ByteOrder::kLittle);
    sample.resize(sample_photo.ifd2.offset + 200); // So that no other 514 is found after it.
    put_u32(sample, sample_photo.ifd2.next_link, 0, ByteOrder::kLittle);
    const std::string text =
        standard_error_of([&] { EXPECT_EQ(advance("arw", damaged_photo.bytes, sample), -1126); });
    EXPECT_EQ(text, "Data can not found\n");
    EXPECT_EQ(work_file("temp.arw"), sample);
}

// Failures in the damaged file.

TEST_F(ArwRepairs, DamagedFileWithItsSubIfdLost) {
    const Bytes damaged = zeroed(damaged_photo.bytes, 0, damaged_photo.image_offset);
    // The image must hold no pair of bytes that looks like the tag.
    const Bytes silent = zeroed(damaged, 0, damaged.size());
    EXPECT_EQ(advance("arw", silent, sample_photo.bytes), -1124);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("corrupt file not found tag")));
    EXPECT_EQ(output(), std::nullopt);
    EXPECT_THAT(work_files(), ElementsAre("temp.arw"));
}

TEST_F(ArwRepairs, DamagedFileOfTheOtherByteOrderIsNotFound) {
    const ArwPhoto big(ArwPhoto::Options{.order = ByteOrder::kBig, .number = 2});
    const Bytes damaged = zeroed(big.bytes, big.image_offset, big.bytes.size());
    EXPECT_EQ(advance("arw", damaged, sample_photo.bytes), -1124);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("corrupt file not found tag")));
}

TEST_F(ArwRepairs, LoneTagNearTheEndIsOutOfRangeAndNotNotFound) {
    for (const std::size_t left : {2U, 25U}) {
        Bytes damaged(1000);
        put_bytes(damaged, damaged.size() - left, {0x11, 0x01});
        reset_stand_ins();
        EXPECT_EQ(advance("arw", damaged, sample_photo.bytes), -1123);
        EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("corrupt file offset is far")));
    }
}

TEST_F(ArwRepairs, LoneTagTwentySixBytesBeforeTheEndIsNotFound) {
    Bytes damaged(1000);
    put_bytes(damaged, damaged.size() - 26, {0x11, 0x01});
    EXPECT_EQ(advance("arw", damaged, sample_photo.bytes), -1124);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("corrupt file not found tag")));
}

TEST_F(ArwRepairs, TripleCutAfterItsTagsIsOutOfRange) {
    const Bytes damaged = part(damaged_photo.bytes, 0, damaged_photo.strip_entries + 35);
    EXPECT_EQ(advance("arw", damaged, sample_photo.bytes), -1123);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("corrupt file offset is far")));
}

// The merge. S is the sample's image offset, D the damaged file's.

class ArwMerge : public ArwRepairs {
  protected:
    /// Repairs with other image offsets than the true ones.
    std::int32_t repair_with(std::uint32_t sample_image, std::uint32_t damaged_image) {
        sample = sample_photo.bytes;
        damaged = damaged_photo.bytes;
        put_u32(sample, sample_photo.strip_entries + 8, sample_image, ByteOrder::kLittle);
        put_u32(damaged, damaged_photo.strip_entries + 8, damaged_image, ByteOrder::kLittle);
        const std::int32_t code = advance("arw", damaged, sample);
        patched = sample;
        put_u32(patched, sample_photo.strip_entries + 24 + 8, damaged_photo.image_size, ByteOrder::kLittle);
        for (const std::uint32_t preview : sample_photo.preview_offsets) {
            patched = zeroed(patched, preview, preview + 30);
        }
        return code;
    }

    [[nodiscard]] auto merge_failed() const {
        return ElementsAre(kLog.cloned, kLog.failed("arw merge data error: Access out of range"));
    }

    Bytes sample;
    Bytes damaged;
    Bytes patched; ///< What the working copy holds after all patches.
};

TEST_F(ArwMerge, SampleOffsetOneBeforeItsEnd) {
    const auto size = static_cast<std::uint32_t>(sample_photo.bytes.size());
    EXPECT_EQ(repair_with(size - 1, damaged_photo.image_offset), 0);
    EXPECT_EQ(output(),
              joined(part(patched, 0, size - 1), part(damaged, damaged_photo.image_offset, damaged.size())));
}

TEST_F(ArwMerge, SampleOffsetAtItsEndSucceeds) {
    const auto size = static_cast<std::uint32_t>(sample_photo.bytes.size());
    EXPECT_EQ(repair_with(size, damaged_photo.image_offset), 0);
    EXPECT_EQ(output(), joined(patched, part(damaged, damaged_photo.image_offset, damaged.size())));
}

TEST_F(ArwMerge, SampleOffsetPastItsEndLeavesAnEmptyOutputAndThePatchedWorkingCopy) {
    for (const std::uint32_t beyond :
         {static_cast<std::uint32_t>(sample_photo.bytes.size()) + 1, 0xFFFFFFFFU}) {
        reset_stand_ins();
        EXPECT_EQ(repair_with(beyond, damaged_photo.image_offset), -1125);
        EXPECT_THAT(lines(), merge_failed());
        EXPECT_EQ(output(), Bytes{});
        EXPECT_EQ(work_file("temp.arw"), patched) << "the byte count is patched before the slice is checked";
    }
}

TEST_F(ArwMerge, SampleOffsetZeroTakesNothingOfTheSample) {
    EXPECT_EQ(repair_with(0, damaged_photo.image_offset), 0);
    EXPECT_EQ(output(), part(damaged, damaged_photo.image_offset, damaged.size()));
}

TEST_F(ArwMerge, DamagedOffsetOneBeforeItsEnd) {
    const auto size = static_cast<std::uint32_t>(damaged_photo.bytes.size());
    EXPECT_EQ(repair_with(sample_photo.image_offset, size - 1), 0);
    EXPECT_EQ(output(), joined(part(patched, 0, sample_photo.image_offset), part(damaged, size - 1, size)));
}

TEST_F(ArwMerge, DamagedOffsetAtItsEndSucceeds) {
    const auto size = static_cast<std::uint32_t>(damaged_photo.bytes.size());
    EXPECT_EQ(repair_with(sample_photo.image_offset, size), 0);
    EXPECT_EQ(output(), part(patched, 0, sample_photo.image_offset));
}

TEST_F(ArwMerge, DamagedOffsetPastItsEndLeavesTheSamplesPart) {
    for (const std::uint32_t beyond :
         {static_cast<std::uint32_t>(damaged_photo.bytes.size()) + 1, 0xFFFFFFFFU}) {
        reset_stand_ins();
        EXPECT_EQ(repair_with(sample_photo.image_offset, beyond), -1125);
        EXPECT_THAT(lines(), merge_failed());
        EXPECT_EQ(output(), part(patched, 0, sample_photo.image_offset));
        EXPECT_EQ(work_file("temp.arw"), patched);
    }
}

TEST_F(ArwMerge, ShortValuesAreUsedAsFourRawBytes) {
    // A SHORT byte count in a little-endian file: two bytes of value, two of whatever.
    Bytes odd = damaged_photo.bytes;
    const std::size_t entry = damaged_photo.strip_entries + 24;
    put_u16(odd, entry + 2, 3, ByteOrder::kLittle);
    put_bytes(odd, entry + 8, {0x34, 0x12, 0xAB, 0xCD});
    EXPECT_EQ(advance("arw", odd, sample_photo.bytes), 0);
    ASSERT_TRUE(output().has_value());
    const std::size_t value = sample_photo.strip_entries + 24 + 8;
    EXPECT_EQ(part(*output(), value, value + 4), (Bytes{0x34, 0x12, 0xAB, 0xCD}));
}

TEST_F(ArwMerge, PatchOfAnEntryThatIsTheSamplesLastTwelveBytesThrows) {
    // The Sub IFD's StripByteCounts is found by search: move it to the very end of the sample.
    sample = sample_photo.bytes;
    const std::size_t entry = sample_photo.strip_entries + 24;
    const Bytes moved = part(sample, entry, entry + 12);
    put_u16(sample, entry, 0xFFFF, ByteOrder::kLittle);
    sample = joined(zeroed(sample, sample_photo.image_offset, sample.size()), moved);
    EXPECT_EQ(advance("arw", damaged_photo.bytes, sample), -1125);
    EXPECT_THAT(lines(), merge_failed());
    EXPECT_EQ(output(), Bytes{});
    const Bytes working_copy = work_file("temp.arw");
    EXPECT_EQ(get_u32(working_copy, working_copy.size() - 4, ByteOrder::kLittle), damaged_photo.image_size)
        << "all four bytes are written before the cursor fails";

    reset_stand_ins();
    sample.push_back(0); // With one byte after the entry it passes.
    EXPECT_EQ(advance("arw", damaged_photo.bytes, sample), 0);
}

} // namespace
} // namespace test
