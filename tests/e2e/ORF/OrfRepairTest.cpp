#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"
#include "support/Jpeg.h"
#include "support/OrfPhoto.h"
#include "support/RawDecode.h"

#include <plate_mend/plate_mend.h>

namespace test {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::Le;

const RepairLog kLog = repair_log("orf");

/// The photo with everything before its StripOffsets entry destroyed.
Bytes front_destroyed(const OrfPhoto& photo) {
    return zeroed(photo.bytes, 0, photo.ifd0.entry(273));
}

class OrfRepairs : public RepairFixture {
  protected:
    const OrfPhoto sample = make_orf({.scene = 1});
    const OrfPhoto original = make_orf({.scene = 2, .preview_width = 96, .preview_height = 64});
    const Bytes damaged = front_destroyed(original);

    /// A failure in the sample or damaged stage: the working copy stays, and there is no output.
    void expect_failure(const std::string& text) {
        EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed(text)));
        EXPECT_EQ(output(), std::nullopt);
        EXPECT_THAT(work_files(), ElementsAre("temp.orf"));
    }
};

// ---- the picture

class OrfPicture : public RepairFixture, public ::testing::WithParamInterface<ByteOrder> {
  protected:
    const OrfPhoto sample = make_orf({.order = GetParam(), .scene = 1});
    const OrfPhoto original =
        make_orf({.order = GetParam(), .scene = 2, .preview_width = 96, .preview_height = 64});
};

TEST_P(OrfPicture, BuiltPhotographIsDecodedToItsSamples) {
    for (const OrfPhoto& photo : {sample, original}) {
        const auto picture = decode_raw(photo.bytes);
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->width, 96U);
        EXPECT_EQ(picture->height, 64U);
        EXPECT_EQ(picture->errors, 0U);
        EXPECT_EQ(picture->samples, photo.samples);
        EXPECT_TRUE(jpeg_decodes(part(photo.bytes, photo.preview, photo.preview + photo.preview_size)));
    }
    EXPECT_NE(sample.samples, original.samples);
    EXPECT_NE(sample.image, original.image);
}

TEST_P(OrfPicture, IsRepairedWhenAllBeforeTheStripOffsetsEntryIsDestroyed) {
    const Bytes front = noise(original.ifd0.entry(273), 7);
    for (const Bytes& damaged : {front_destroyed(original),
                                 joined(front, part(original.bytes, front.size(), original.bytes.size()))}) {
        EXPECT_EQ(decode_raw(damaged), std::nullopt);
        EXPECT_EQ(advance("orf", damaged, sample.bytes), 0);
        ASSERT_EQ(output(), expected_output(sample, original, original.bytes));
        const auto picture = decode_raw(output_path);
        ASSERT_TRUE(picture);
        EXPECT_EQ(*picture, *decode_raw(original.bytes));
        EXPECT_EQ(picture->samples, original.samples);
    }
}

TEST_P(OrfPicture, IsRepairedWhenNothingButTheGroupAndTheImageIsLeft) {
    Bytes damaged(original.bytes.size());
    const std::uint32_t group = original.ifd0.entry(273);
    put_bytes(damaged, group, part(original.bytes, group, group + 60));
    put_bytes(damaged, original.image, part(original.bytes, original.image, original.bytes.size()));
    EXPECT_EQ(advance("orf", damaged, sample.bytes), 0);
    ASSERT_TRUE(output());
    EXPECT_EQ(decode_raw(*output()), decode_raw(original.bytes));
}

TEST_P(OrfPicture, SamplesPicturesAreBlankedAndItsOwnFileIsLeftAlone) {
    EXPECT_EQ(advance("orf", front_destroyed(original), sample.bytes), 0);
    const Bytes preview = part(*output(), sample.preview, sample.preview + sample.preview_size);
    EXPECT_EQ(part(preview, 0, 30), Bytes(30));
    EXPECT_FALSE(jpeg_decodes(preview));
    EXPECT_EQ(part(preview, 30, preview.size()),
              part(sample.bytes, sample.preview + 30, sample.preview + sample.preview_size));
    EXPECT_EQ(read_file(sample_path), sample.bytes);
    EXPECT_EQ(read_file(damaged_path), front_destroyed(original));
}

TEST_P(OrfPicture, LengthIsPatchedInTheFilesOwnOrder) {
    OrfPhoto other = original;
    put_u32(other.bytes, other.ifd0.value(279), 0x00012345, GetParam());
    EXPECT_EQ(advance("orf", front_destroyed(other), sample.bytes), 0);
    ASSERT_EQ(output(), expected_output(sample, other, other.bytes));
    EXPECT_EQ(get_u32(*output(), sample.ifd0.value(279), GetParam()), 0x00012345U);
    EXPECT_EQ(get_u32(*output(), sample.ifd0.value(273), GetParam()), sample.image);
}

TEST_P(OrfPicture, DamagedFileOfTheOtherByteOrderIsNotFound) {
    const ByteOrder other = GetParam() == ByteOrder::kLittle ? ByteOrder::kBig : ByteOrder::kLittle;
    // Blank pixels, so that no bytes of a tag are in the image by chance.
    OrfPhoto photo = make_orf({.order = other});
    photo.bytes = zeroed(photo.bytes, photo.ifd0.entry(279) + 12, photo.bytes.size());
    EXPECT_EQ(advance("orf", front_destroyed(photo), sample.bytes), PLATE_MEND_ORF_NOT_FOUND);
    EXPECT_THAT(
        lines(),
        ElementsAre(kLog.cloned, kLog.failed("corrupt file not found tag, reason is Data can not found")));
}

INSTANTIATE_TEST_SUITE_P(Orders, OrfPicture, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         [](const auto& order) {
                             return order.param == ByteOrder::kLittle ? "IIRO" : "MMOR";
                         });

// ---- success

TEST_F(OrfRepairs, SampleWithoutAPictureIsUsedAsItIs) {
    OrfPhoto plain = sample;
    put_bytes(plain.bytes, plain.thumbnail, Bytes{0, 0, 0, 0});
    put_bytes(plain.bytes, plain.preview, Bytes{0, 0, 0, 0});
    EXPECT_EQ(advance("orf", damaged, plain.bytes), 0);
    Bytes expected = part(plain.bytes, 0, plain.image);
    expected = joined(expected, part(original.bytes, original.image, original.bytes.size()));
    EXPECT_EQ(output(), expected);
}

TEST_F(OrfRepairs, TailLongerThanTheLengthTagIsKeptAndTheTagStays) {
    const Bytes tail = noise(1000, 3);
    EXPECT_EQ(advance("orf", joined(damaged, tail), sample.bytes), 0);
    EXPECT_EQ(output(), joined(expected_output(sample, original, original.bytes), tail));
    EXPECT_EQ(get_u32(*output(), sample.ifd0.value(279), ByteOrder::kLittle), original.image_size);
}

TEST_F(OrfRepairs, ImageCutShortIsCopiedAsFarAsItGoes) {
    const std::size_t cut = original.image + 100;
    EXPECT_EQ(advance("orf", part(damaged, 0, cut), sample.bytes), 0);
    EXPECT_EQ(output(), part(expected_output(sample, original, original.bytes), 0, sample.image + 100));
}

TEST_F(OrfRepairs, WhatTheSampleHoldsAfterItsImageStartIsDropped) {
    EXPECT_EQ(advance("orf", damaged, joined(sample.bytes, noise(500, 4))), 0);
    EXPECT_EQ(output(), expected_output(sample, original, original.bytes));
}

TEST_F(OrfRepairs, FirstGroupThatFitsIsUsedAfterCandidatesThatFail) {
    Bytes bytes = damaged;
    put_u16(bytes, 0, 273, ByteOrder::kLittle);
    put_u16(bytes, 7, 273, ByteOrder::kLittle); // Alone, at an odd offset.
    EXPECT_EQ(advance("orf", bytes, sample.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample, original, original.bytes));
}

TEST_F(OrfRepairs, GroupBeforeTheTrueOneWins) {
    Bytes bytes = damaged;
    const std::uint32_t group = original.ifd0.entry(273);
    put_bytes(bytes, 1, part(original.bytes, group, group + 60));
    put_u32(bytes, 1 + 8, static_cast<std::uint32_t>(bytes.size() - 5), ByteOrder::kLittle);
    EXPECT_EQ(advance("orf", bytes, sample.bytes), 0);
    EXPECT_EQ(output()->size(), sample.image + 5U);
}

TEST_F(OrfRepairs, GroupAtTheVeryStartOfTheDamagedFileIsFound) {
    const std::uint32_t group = original.ifd0.entry(273);
    Bytes bytes = part(original.bytes, group, group + 60);
    put_u32(bytes, 8, 60, ByteOrder::kLittle);
    bytes = joined(bytes, part(original.bytes, original.image, original.bytes.size()));
    EXPECT_EQ(advance("orf", bytes, sample.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample, original, original.bytes));
}

TEST_F(OrfRepairs, DamagedFileWithNoImageAfterItsStartReturnsTheSamplesPartAlone) {
    Bytes bytes = damaged;
    put_u32(bytes, original.ifd0.value(273), static_cast<std::uint32_t>(bytes.size()), ByteOrder::kLittle);
    EXPECT_EQ(advance("orf", bytes, sample.bytes), 0);
    EXPECT_EQ(output(), part(expected_output(sample, original, original.bytes), 0, sample.image));
}

TEST_F(OrfRepairs, EntriesOfTheSampleAreMatchedAsBytesAndTheLengthIsPatchedThere) {
    // The value of tag 256 holds the bytes of tag 279 at an odd offset: they are taken for the entry.
    OrfPhoto odd = sample;
    const std::uint32_t hit = odd.ifd0.value(256) + 1;
    put_u16(odd.bytes, hit, 279, ByteOrder::kLittle);
    EXPECT_EQ(advance("orf", damaged, odd.bytes), 0);
    Bytes expected = part(odd.bytes, 0, odd.image);
    expected = zeroed(expected, odd.thumbnail, odd.thumbnail + 30);
    expected = zeroed(expected, odd.preview, odd.preview + 30);
    put_u32(expected, hit + 8, original.image_size, ByteOrder::kLittle);
    expected = joined(expected, part(original.bytes, original.image, original.bytes.size()));
    EXPECT_EQ(output(), expected);
}

// ---- -1145: the sample is illegal

TEST_F(OrfRepairs, SampleWithASecondDirectoryIsIllegalBeforeAnyTagIsSearchedFor) {
    Bytes bytes = sample.bytes;
    put_u16(bytes, sample.ifd0.entry(273), 0x7777, ByteOrder::kLittle); // Else: not found.
    put_u32(bytes, sample.ifd0.next_link, 1, ByteOrder::kLittle);
    EXPECT_EQ(advance("orf", damaged, bytes), PLATE_MEND_ORF_SAMPLE_ILLEGAL);
    EXPECT_EQ(PLATE_MEND_ORF_SAMPLE_ILLEGAL, -1145);
    expect_failure("sample data illegal, error is Data is illegal");
    EXPECT_EQ(work_file("temp.orf"), bytes); // Nothing was blanked.
}

TEST_F(OrfRepairs, SampleWithTheOtherFlagIsUsed) {
    Bytes bytes = sample.bytes;
    put_text(bytes, 2, "OR");
    EXPECT_EQ(advance("orf", damaged, bytes), 0);
}

// ---- -1147: the sample is unusable otherwise

TEST_F(OrfRepairs, SampleThatLacksATagIsUnusable) {
    for (const std::uint16_t tag : std::vector<std::uint16_t>{273, 278, 279}) {
        reset_stand_ins();
        Bytes bytes = sample.bytes;
        put_u16(bytes, sample.ifd0.entry(tag), 0x7777, ByteOrder::kLittle);
        EXPECT_EQ(advance("orf", damaged, bytes), PLATE_MEND_ORF_SAMPLE_UNUSABLE);
        expect_failure("sample catch exception is Data can not found");
    }
    EXPECT_EQ(PLATE_MEND_ORF_SAMPLE_UNUSABLE, -1147);
}

TEST_F(OrfRepairs, SampleWhoseIfd0IsPastItsEndIsUnusable) {
    EXPECT_EQ(advance("orf", damaged, part(sample.bytes, 0, 8)), PLATE_MEND_ORF_SAMPLE_UNUSABLE);
    expect_failure("sample catch exception is Visiting beyond boundaries");
}

TEST_F(OrfRepairs, SampleCutInsideIfd0IsUnusable) {
    for (const std::size_t size : {std::size_t{9}, std::size_t{sample.ifd0.next_link} + 3}) {
        reset_stand_ins();
        EXPECT_EQ(advance("orf", damaged, part(sample.bytes, 0, size)), PLATE_MEND_ORF_SAMPLE_UNUSABLE);
        expect_failure("sample catch exception is Access out of range");
    }
}

TEST_F(OrfRepairs, SampleCut30BytesAfterAJpegStartIsUnusableAnd31Passes) {
    EXPECT_EQ(advance("orf", damaged, part(sample.bytes, 0, sample.preview + 30)),
              PLATE_MEND_ORF_SAMPLE_UNUSABLE);
    expect_failure("sample catch exception is Access out of range");

    // One byte more passes the blanking. The sample's part is then not all there.
    reset_stand_ins();
    EXPECT_EQ(advance("orf", damaged, part(sample.bytes, 0, sample.preview + 31)),
              PLATE_MEND_ORF_MERGE_FAILED);
}

// ---- -1144: nothing found in the damaged file

TEST_F(OrfRepairs, DamagedFileWithoutTheGroupIsNotFound) {
    for (const std::uint16_t tag : std::vector<std::uint16_t>{273, 278, 279}) {
        reset_stand_ins();
        // Blank pixels, so that no bytes of a tag are in the image by chance.
        Bytes bytes = zeroed(damaged, original.ifd0.entry(279) + 12, damaged.size());
        put_u16(bytes, original.ifd0.entry(tag), 0x7777, ByteOrder::kLittle);
        EXPECT_EQ(advance("orf", bytes, sample.bytes), PLATE_MEND_ORF_NOT_FOUND);
        expect_failure("corrupt file not found tag, reason is Data can not found");
        EXPECT_EQ(work_file("temp.orf"), blanked(sample.bytes, sample));
    }
    EXPECT_EQ(PLATE_MEND_ORF_NOT_FOUND, -1144);
}

TEST_F(OrfRepairs, DamagedFileOfOneByteIsNotFound) {
    EXPECT_EQ(advance("orf", Bytes{0x11}, sample.bytes), PLATE_MEND_ORF_NOT_FOUND);
    expect_failure("corrupt file not found tag, reason is Data can not found");
}

// ---- -1143: outside the damaged file

TEST_F(OrfRepairs, HitWithin49BytesOfTheDamagedFilesEndIsOutOfRange) {
    for (const std::size_t left : {2U, 49U}) {
        reset_stand_ins();
        Bytes bytes(200);
        put_u16(bytes, bytes.size() - left, 273, ByteOrder::kLittle);
        EXPECT_EQ(advance("orf", bytes, sample.bytes), PLATE_MEND_ORF_OUT_OF_RANGE);
        expect_failure("corrupt file offset is far, reason is Access out of range");
    }
    EXPECT_EQ(PLATE_MEND_ORF_OUT_OF_RANGE, -1143);
}

TEST_F(OrfRepairs, Hit50BytesBeforeTheDamagedFilesEndIsSkipped) {
    Bytes bytes(200);
    put_u16(bytes, bytes.size() - 50, 273, ByteOrder::kLittle);
    EXPECT_EQ(advance("orf", bytes, sample.bytes), PLATE_MEND_ORF_NOT_FOUND);
}

TEST_F(OrfRepairs, GroupCutInItsLastEntryIsOutOfRange) {
    const std::uint32_t group = original.ifd0.entry(273);
    for (const std::uint32_t length : {50U, 59U}) {
        reset_stand_ins();
        EXPECT_EQ(advance("orf", part(damaged, 0, group + length), sample.bytes),
                  PLATE_MEND_ORF_OUT_OF_RANGE);
        expect_failure("corrupt file offset is far, reason is Access out of range");
    }
    // Whole: the search is over, and the image is not there.
    EXPECT_EQ(advance("orf", part(damaged, 0, group + 60), sample.bytes), PLATE_MEND_ORF_MERGE_FAILED);
}

// ---- -1146: the merge

TEST_F(OrfRepairs, DamagedImageStartPastTheFileFailsInTheMerge) {
    for (const std::uint32_t beyond : {1U, 0x70000000U}) {
        reset_stand_ins();
        Bytes bytes = damaged;
        put_u32(bytes, original.ifd0.value(273), static_cast<std::uint32_t>(bytes.size()) + beyond,
                ByteOrder::kLittle);
        EXPECT_EQ(advance("orf", bytes, sample.bytes), PLATE_MEND_ORF_MERGE_FAILED);
        EXPECT_THAT(lines(),
                    ElementsAre(kLog.cloned, kLog.failed("orf merge data error is Access out of range")));
        EXPECT_EQ(output(), part(expected_output(sample, original, original.bytes), 0,
                                 sample.image)); // What was written stays.
        EXPECT_THAT(work_files(), ElementsAre("temp.orf"));
    }
    EXPECT_EQ(PLATE_MEND_ORF_MERGE_FAILED, -1146);
}

TEST_F(OrfRepairs, SampleImageStartPastTheFileFailsInTheMerge) {
    Bytes bytes = sample.bytes;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    put_u32(bytes, sample.ifd0.value(273), size + 1, ByteOrder::kLittle);
    EXPECT_EQ(advance("orf", damaged, bytes), PLATE_MEND_ORF_MERGE_FAILED);
    EXPECT_THAT(lines(),
                ElementsAre(kLog.cloned, kLog.failed("orf merge data error is Access out of range")));
    EXPECT_EQ(output(), Bytes{});
    put_u32(bytes, sample.ifd0.value(273), size, ByteOrder::kLittle);
    EXPECT_EQ(advance("orf", damaged, bytes), 0);
}

// ---- one file twice

TEST_F(OrfRepairs, SampleItselfCanBeTheDamagedFile) {
    write_file(folder / "one.orf", sample.bytes);
    EXPECT_EQ(advance(folder / "one.orf", folder / "one.orf", folder / "out.orf"), 0);
    EXPECT_EQ(read_file(folder / "out.orf"), expected_output(sample, sample, sample.bytes));
}

// ---- whatever the files hold

TEST_F(OrfRepairs, AnyCutOfEitherFileEndsInSuccessOrACode) {
    const auto ends_well = AnyOf(0, AllOf(Ge(-1147), Le(-1142)));
    for (std::size_t size = 1; size < sample.bytes.size(); size += size < 800 ? 31 : 509) {
        EXPECT_THAT(advance("orf", damaged, part(sample.bytes, 0, size)), ends_well) << size;
        EXPECT_THAT(advance("orf", part(original.bytes, 0, size), sample.bytes), ends_well) << size;
    }
}

TEST_F(OrfRepairs, AnyBytesAtTheStartEndInSuccessOrACode) {
    const auto ends_well = AnyOf(0, AllOf(Ge(-1147), Le(-1142)));
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
        EXPECT_THAT(advance("orf", damaged, bad_sample), ends_well) << seed;
        EXPECT_THAT(advance("orf", bad_damaged, sample.bytes), ends_well) << seed;
    }
}

} // namespace
} // namespace test
