#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"
#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/Sr2Photo.h"

#include <plate_mend/plate_mend.h>

namespace test {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::Le;

const RepairLog kLog = repair_log("sr2");

/// The photo with everything before its StripOffsets entry destroyed.
Bytes front_destroyed(const Sr2Photo& photo) {
    return zeroed(photo.bytes, 0, photo.sub_ifd.entry(273));
}

/// The photo with nothing in it but the header and the directories: no bytes of a tag by chance.
Bytes without_pictures(const Sr2Photo& photo) {
    return zeroed(photo.bytes, photo.preview, photo.bytes.size());
}

class Sr2Repairs : public RepairFixture {
  protected:
    const Sr2Photo sample = make_sr2({.scene = 1});
    const Sr2Photo original = make_sr2({.scene = 2, .preview_width = 96, .preview_height = 64});
    const Bytes damaged = front_destroyed(original);

    /// A failure in the sample or damaged stage: the working copy stays, and there is no output.
    void expect_failure(const std::string& text) {
        EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed(text)));
        EXPECT_EQ(output(), std::nullopt);
        EXPECT_THAT(work_files(), ElementsAre("temp.sr2"));
    }
};

// ---- the picture

class Sr2Picture : public RepairFixture, public ::testing::WithParamInterface<ByteOrder> {
  protected:
    const Sr2Photo sample = make_sr2({.order = GetParam(), .scene = 1});
    const Sr2Photo original =
        make_sr2({.order = GetParam(), .scene = 2, .preview_width = 96, .preview_height = 64});
};

TEST_P(Sr2Picture, BuiltPhotographIsDecodedToItsSamples) {
    for (const Sr2Photo& photo : {sample, original}) {
        const auto picture = decode_raw(photo.bytes);
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->width, 96U);
        EXPECT_EQ(picture->height, 64U);
        EXPECT_EQ(picture->errors, 0U);
        EXPECT_EQ(picture->samples, photo.samples);
        EXPECT_TRUE(jpeg_decodes(part(photo.bytes, photo.preview, photo.preview + photo.preview_size)));
        EXPECT_EQ(photo.sub_ifd.entry(278) - photo.sub_ifd.entry(273), 36U);
        EXPECT_EQ(photo.sub_ifd.entry(279) - photo.sub_ifd.entry(273), 48U);
    }
    EXPECT_NE(sample.samples, original.samples);
    EXPECT_NE(sample.image, original.image);
}

TEST_P(Sr2Picture, IsRepairedWhenAllBeforeTheStripOffsetsEntryIsDestroyed) {
    const Bytes front = noise(original.sub_ifd.entry(273), 7);
    for (const Bytes& damaged : {front_destroyed(original),
                                 joined(front, part(original.bytes, front.size(), original.bytes.size()))}) {
        EXPECT_EQ(decode_raw(damaged), std::nullopt);
        EXPECT_EQ(advance("sr2", damaged, sample.bytes), 0);
        ASSERT_EQ(output(), expected_output(sample, original, original.bytes));
        const auto picture = decode_raw(output_path);
        ASSERT_TRUE(picture);
        EXPECT_EQ(*picture, *decode_raw(original.bytes));
        EXPECT_EQ(picture->samples, original.samples);
    }
}

TEST_P(Sr2Picture, IsRepairedWhenTheHeaderAloneIsDestroyed) {
    EXPECT_EQ(advance("sr2", zeroed(original.bytes, 0, 8), sample.bytes), 0);
    ASSERT_TRUE(output());
    EXPECT_EQ(decode_raw(*output()), decode_raw(original.bytes));
}

TEST_P(Sr2Picture, IsRepairedWhenNothingButTheGroupAndTheImageIsLeft) {
    Bytes damaged(original.bytes.size());
    const std::uint32_t group = original.sub_ifd.entry(273);
    put_bytes(damaged, group, part(original.bytes, group, group + 60));
    put_bytes(damaged, original.image, part(original.bytes, original.image, original.bytes.size()));
    EXPECT_EQ(advance("sr2", damaged, sample.bytes), 0);
    ASSERT_TRUE(output());
    EXPECT_EQ(decode_raw(*output()), decode_raw(original.bytes));
}

TEST_P(Sr2Picture, SamplesPreviewsAreBlankedAndItsOwnFileIsLeftAlone) {
    EXPECT_EQ(advance("sr2", front_destroyed(original), sample.bytes), 0);
    for (const auto& [start, size] : {std::pair{sample.preview, sample.preview_size},
                                      std::pair{sample.thumbnail, sample.thumbnail_size}}) {
        const Bytes preview = part(*output(), start, start + size);
        EXPECT_EQ(part(preview, 0, 30), Bytes(30));
        EXPECT_FALSE(jpeg_decodes(preview));
        EXPECT_EQ(part(preview, 30, size), part(sample.bytes, start + 30, start + size));
    }
    EXPECT_EQ(read_file(sample_path), sample.bytes);
    EXPECT_EQ(read_file(damaged_path), front_destroyed(original));
}

TEST_P(Sr2Picture, LengthIsPatchedInTheFilesOwnOrder) {
    Sr2Photo other = original;
    put_u32(other.bytes, other.sub_ifd.value(279), 0x00012345, GetParam());
    EXPECT_EQ(advance("sr2", front_destroyed(other), sample.bytes), 0);
    ASSERT_EQ(output(), expected_output(sample, other, other.bytes));
    EXPECT_EQ(get_u32(*output(), sample.sub_ifd.value(279), GetParam()), 0x00012345U);
    EXPECT_EQ(get_u32(*output(), sample.sub_ifd.value(273), GetParam()), sample.image);
}

TEST_P(Sr2Picture, DamagedFileOfTheOtherByteOrderIsNotFound) {
    const ByteOrder other = GetParam() == ByteOrder::kLittle ? ByteOrder::kBig : ByteOrder::kLittle;
    EXPECT_EQ(advance("sr2", without_pictures(make_sr2({.order = other})), sample.bytes),
              PLATE_MEND_SR2_NOT_FOUND);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("corrupt file not found tag")));
}

INSTANTIATE_TEST_SUITE_P(Orders, Sr2Picture, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         [](const auto& order) { return order.param == ByteOrder::kLittle ? "II" : "MM"; });

// ---- success

TEST_F(Sr2Repairs, TailAfterTheImageIsKeptAndTheLengthStays) {
    const Bytes tail = noise(1000, 3);
    EXPECT_EQ(advance("sr2", joined(damaged, tail), sample.bytes), 0);
    EXPECT_EQ(output(), joined(expected_output(sample, original, original.bytes), tail));
    EXPECT_EQ(get_u32(*output(), sample.sub_ifd.value(279), ByteOrder::kLittle), original.image_size);
}

TEST_F(Sr2Repairs, ImageCutShortIsCopiedAsFarAsItGoes) {
    EXPECT_EQ(advance("sr2", part(damaged, 0, original.image + 100), sample.bytes), 0);
    EXPECT_EQ(output(), part(expected_output(sample, original, original.bytes), 0, sample.image + 100));
}

TEST_F(Sr2Repairs, WhatTheSampleHoldsAfterItsImageStartIsDropped) {
    EXPECT_EQ(advance("sr2", damaged, joined(sample.bytes, noise(500, 4))), 0);
    EXPECT_EQ(output(), expected_output(sample, original, original.bytes));
}

TEST_F(Sr2Repairs, FirstGroupThatFitsIsUsedAfterCandidatesThatFail) {
    Bytes bytes = damaged;
    put_u16(bytes, 0, 273, ByteOrder::kLittle);
    put_u16(bytes, 7, 273, ByteOrder::kLittle); // Alone, at an odd offset.
    EXPECT_EQ(advance("sr2", bytes, sample.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample, original, original.bytes));
}

TEST_F(Sr2Repairs, GroupBeforeTheTrueOneWins) {
    Bytes bytes = damaged;
    const std::uint32_t group = original.sub_ifd.entry(273);
    put_bytes(bytes, 1, part(original.bytes, group, group + 60));
    put_u32(bytes, 1 + 8, static_cast<std::uint32_t>(bytes.size() - 5), ByteOrder::kLittle);
    EXPECT_EQ(advance("sr2", bytes, sample.bytes), 0);
    EXPECT_EQ(output()->size(), sample.image + 5U);
}

TEST_F(Sr2Repairs, DamagedFileWithNoImageAfterItsStartReturnsTheSamplesPartAlone) {
    Bytes bytes = damaged;
    put_u32(bytes, original.sub_ifd.value(273), static_cast<std::uint32_t>(bytes.size()), ByteOrder::kLittle);
    EXPECT_EQ(advance("sr2", bytes, sample.bytes), 0);
    EXPECT_EQ(output(), part(expected_output(sample, original, original.bytes), 0, sample.image));
}

TEST_F(Sr2Repairs, FalsePreviewTagBeforeTheTrueEntryWins) {
    // The value of tag 254 holds the bytes of tag 513 with a type after them: 30 other bytes are
    // blanked.
    Bytes bytes = sample.bytes;
    const std::uint32_t hit = sample.ifd0.value(254);
    put_u16(bytes, hit, 513, ByteOrder::kLittle);
    put_u16(bytes, hit + 2, 4, ByteOrder::kLittle);
    const std::uint32_t taken = get_u32(bytes, hit + 8, ByteOrder::kLittle);
    ASSERT_LT(taken, sample.image);
    EXPECT_EQ(advance("sr2", damaged, bytes), 0);
    EXPECT_EQ(part(*output(), taken, taken + 30), Bytes(30));
    EXPECT_EQ(part(*output(), sample.preview, sample.preview + 30),
              part(bytes, sample.preview, sample.preview + 30));
}

// ---- -1133: outside the sample

TEST_F(Sr2Repairs, SampleDirectoryPastItsEndIsAParameterError) {
    const auto past = static_cast<std::uint32_t>(sample.bytes.size());
    const std::uint32_t first_ifd = 4;
    for (const std::uint32_t link : {first_ifd, sample.ifd0.next_link, sample.ifd0.value(330)}) {
        reset_stand_ins();
        Bytes bytes = sample.bytes;
        put_u32(bytes, link, past, ByteOrder::kLittle);
        EXPECT_EQ(advance("sr2", damaged, bytes), PLATE_MEND_SR2_OUT_OF_RANGE);
        expect_failure("sample parameter error is Visiting beyond boundaries");
    }
    EXPECT_EQ(PLATE_MEND_SR2_OUT_OF_RANGE, -1133);
}

TEST_F(Sr2Repairs, SampleDirectoryCutByItsEndIsAnOffsetError) {
    const auto last = static_cast<std::uint32_t>(sample.bytes.size() - 1);
    const std::uint32_t first_ifd = 4;
    for (const std::uint32_t link : {first_ifd, sample.ifd0.next_link, sample.ifd0.value(330)}) {
        reset_stand_ins();
        Bytes bytes = sample.bytes;
        put_u32(bytes, link, last, ByteOrder::kLittle);
        EXPECT_EQ(advance("sr2", damaged, bytes), PLATE_MEND_SR2_OUT_OF_RANGE);
        expect_failure("sample offset error is Access out of range");
    }
}

TEST_F(Sr2Repairs, SampleWithoutASecondDirectoryHasItsHeaderReadAsOne) {
    // "II" for a count: 18761 entries, which are past the end.
    Bytes bytes = sample.bytes;
    put_u32(bytes, sample.ifd0.next_link, 0, ByteOrder::kLittle);
    EXPECT_EQ(advance("sr2", damaged, bytes), PLATE_MEND_SR2_OUT_OF_RANGE);
    expect_failure("sample offset error is Access out of range");
    // Long enough, it passes.
    EXPECT_EQ(advance("sr2", damaged, joined(bytes, Bytes(std::size_t{18761} * 12))), 0);
}

TEST_F(Sr2Repairs, SampleWithAPreviewPastItsEndIsAnOffsetErrorWithTheFirstOneBlanked) {
    for (const std::uint32_t beyond : {0U, 1U, 0x70000000U}) {
        reset_stand_ins();
        Bytes bytes = sample.bytes;
        put_u32(bytes, sample.ifd1.value(513), static_cast<std::uint32_t>(bytes.size()) + beyond,
                ByteOrder::kLittle);
        EXPECT_EQ(advance("sr2", damaged, bytes), PLATE_MEND_SR2_OUT_OF_RANGE);
        expect_failure("sample offset error is Access out of range");
        EXPECT_EQ(work_file("temp.sr2"), zeroed(bytes, sample.preview, sample.preview + 30));
    }
}

TEST_F(Sr2Repairs, Preview31BytesBeforeTheSamplesEndPassesAnd30Fails) {
    Bytes bytes = sample.bytes;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    put_u32(bytes, sample.ifd1.value(513), size - 31, ByteOrder::kLittle);
    EXPECT_EQ(advance("sr2", damaged, bytes), 0);
    put_u32(bytes, sample.ifd1.value(513), size - 30, ByteOrder::kLittle);
    EXPECT_EQ(advance("sr2", damaged, bytes), PLATE_MEND_SR2_OUT_OF_RANGE);
}

// ---- -1136: the sample is unusable otherwise

TEST_F(Sr2Repairs, SampleThatLacksATagIsLoggedAsNotFound) {
    const std::vector<std::uint32_t> entries{sample.ifd0.entry(513),    sample.ifd0.entry(514),
                                             sample.ifd0.entry(330),    sample.sub_ifd.entry(273),
                                             sample.sub_ifd.entry(278), sample.sub_ifd.entry(279),
                                             sample.ifd1.entry(513),    sample.ifd1.entry(514)};
    for (const std::uint32_t entry : entries) {
        reset_stand_ins();
        Bytes bytes = without_pictures(sample);
        put_u16(bytes, entry, 0x7777, ByteOrder::kLittle);
        EXPECT_EQ(advance("sr2", damaged, bytes), PLATE_MEND_SR2_SAMPLE_UNUSABLE) << entry;
        expect_failure("sample catch exception is Data can not found");
    }
}

// ---- -1134: nothing found in the damaged file

TEST_F(Sr2Repairs, DamagedFileWithoutTheGroupIsNotFound) {
    for (const std::uint16_t tag : std::vector<std::uint16_t>{273, 278, 279}) {
        reset_stand_ins();
        Bytes bytes = zeroed(damaged, original.preview, damaged.size());
        put_u16(bytes, original.sub_ifd.entry(tag), 0x7777, ByteOrder::kLittle);
        EXPECT_EQ(advance("sr2", bytes, sample.bytes), PLATE_MEND_SR2_NOT_FOUND);
        expect_failure("corrupt file not found tag");
        EXPECT_EQ(work_file("temp.sr2"), blanked(sample.bytes, sample));
    }
    EXPECT_EQ(PLATE_MEND_SR2_NOT_FOUND, -1134);
}

TEST_F(Sr2Repairs, StripEntriesSideBySideAreNotRecognised) {
    Bytes bytes = Bytes(200);
    for (const std::uint16_t tag : std::vector<std::uint16_t>{273, 278, 279}) {
        const std::uint32_t entry = original.sub_ifd.entry(tag);
        put_bytes(bytes, tag == 273 ? 0U : (tag - 277U) * 12, part(original.bytes, entry, entry + 12));
    }
    EXPECT_EQ(get_u16(bytes, 12, ByteOrder::kLittle), 278);
    EXPECT_EQ(get_u16(bytes, 24, ByteOrder::kLittle), 279);
    EXPECT_EQ(advance("sr2", bytes, sample.bytes), PLATE_MEND_SR2_NOT_FOUND);
    expect_failure("corrupt file not found tag");
}

// ---- -1133: outside the damaged file

TEST_F(Sr2Repairs, HitWithin49BytesOfTheDamagedFilesEndIsOutOfRange) {
    for (const std::size_t left : {2U, 49U}) {
        reset_stand_ins();
        Bytes bytes(200);
        put_u16(bytes, bytes.size() - left, 273, ByteOrder::kLittle);
        EXPECT_EQ(advance("sr2", bytes, sample.bytes), PLATE_MEND_SR2_OUT_OF_RANGE);
        expect_failure("corrupt file offset is far");
    }
}

TEST_F(Sr2Repairs, Hit50BytesBeforeTheDamagedFilesEndIsSkipped) {
    Bytes bytes(200);
    put_u16(bytes, bytes.size() - 50, 273, ByteOrder::kLittle);
    EXPECT_EQ(advance("sr2", bytes, sample.bytes), PLATE_MEND_SR2_NOT_FOUND);
}

TEST_F(Sr2Repairs, GroupCutInItsLastEntryIsOutOfRange) {
    const std::uint32_t group = original.sub_ifd.entry(273);
    for (const std::uint32_t length : {50U, 59U}) {
        reset_stand_ins();
        EXPECT_EQ(advance("sr2", part(damaged, 0, group + length), sample.bytes),
                  PLATE_MEND_SR2_OUT_OF_RANGE);
        expect_failure("corrupt file offset is far");
    }
    // Whole: the search is over, and the image is not there.
    EXPECT_EQ(advance("sr2", part(damaged, 0, group + 60), sample.bytes), PLATE_MEND_SR2_MERGE_FAILED);
}

// ---- -1135: the merge

TEST_F(Sr2Repairs, DamagedImageStartPastTheFileFailsInTheMerge) {
    for (const std::uint32_t beyond : {1U, 0x70000000U}) {
        reset_stand_ins();
        Bytes bytes = damaged;
        put_u32(bytes, original.sub_ifd.value(273), static_cast<std::uint32_t>(bytes.size()) + beyond,
                ByteOrder::kLittle);
        EXPECT_EQ(advance("sr2", bytes, sample.bytes), PLATE_MEND_SR2_MERGE_FAILED);
        EXPECT_THAT(lines(),
                    ElementsAre(kLog.cloned, kLog.failed("sr2  merge data error: Access out of range")));
        EXPECT_EQ(output(), part(expected_output(sample, original, original.bytes), 0,
                                 sample.image)); // What was written stays.
        EXPECT_THAT(work_files(), ElementsAre("temp.sr2"));
    }
    EXPECT_EQ(PLATE_MEND_SR2_MERGE_FAILED, -1135);
}

TEST_F(Sr2Repairs, SampleImageStartPastTheFileFailsInTheMerge) {
    Bytes bytes = sample.bytes;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    put_u32(bytes, sample.sub_ifd.value(273), size + 1, ByteOrder::kLittle);
    EXPECT_EQ(advance("sr2", damaged, bytes), PLATE_MEND_SR2_MERGE_FAILED);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("sr2  merge data error: Access out of range")));
    EXPECT_EQ(output(), Bytes{});
    put_u32(bytes, sample.sub_ifd.value(273), size, ByteOrder::kLittle);
    EXPECT_EQ(advance("sr2", damaged, bytes), 0);
}

// ---- whatever the files hold

TEST_F(Sr2Repairs, AnyCutOfEitherFileEndsInSuccessOrACode) {
    const auto ends_well = AnyOf(0, AllOf(Ge(-1136), Le(-1132)));
    for (std::size_t size = 1; size < sample.bytes.size(); size += size < 800 ? 31 : 509) {
        EXPECT_THAT(advance("sr2", damaged, part(sample.bytes, 0, size)), ends_well) << size;
        EXPECT_THAT(advance("sr2", part(original.bytes, 0, size), sample.bytes), ends_well) << size;
    }
}

TEST_F(Sr2Repairs, AnyBytesAtTheStartEndInSuccessOrACode) {
    const auto ends_well = AnyOf(0, AllOf(Ge(-1136), Le(-1132)));
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        Bytes bad_sample = sample.bytes;
        Bytes bad_damaged = original.bytes;
        const Bytes random = noise(80, seed);
        for (std::size_t index = 0; index < random.size(); index += 4) {
            const std::size_t place = (random[index] * 256U + random[index + 1]) % 640;
            bad_sample[place] = random[index + 2];
            bad_damaged[place] = random[index + 3];
        }
        put_bytes(bad_sample, 0, part(sample.bytes, 0, 8)); // Else the header stops nearly all of them.
        EXPECT_THAT(advance("sr2", damaged, bad_sample), ends_well) << seed;
        EXPECT_THAT(advance("sr2", bad_damaged, sample.bytes), ends_well) << seed;
    }
}

} // namespace
} // namespace test
