#include "e2e/strip_group/StripGroupFixture.h"
#include "support/Jpeg.h"
#include "support/OrfPhoto.h"
#include "support/RawDecode.h"
#include "support/Sr2Photo.h"

#include <plate_mend/plate_mend.h>

#include <ostream>
#include <tuple>
#include <utility>

namespace test {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::Le;

/// A code of the interface, and its number.
struct Code {
    std::int32_t code;
    std::int32_t number;
};

/// A format whose repair searches the damaged file for the group, its codes, and its texts in the log.
struct Format {
    std::string extension;
    MakeStripPhoto make;
    Code not_found;
    Code out_of_range;
    Code merge_failed;
    std::int32_t first_code; ///< The range of all its codes.
    std::int32_t last_code;
    std::string not_found_text;
    std::string out_of_range_text;
    std::string merge_failed_text;
};

std::ostream& operator<<(std::ostream& stream, const Format& format) {
    return stream << format.extension;
}

const Format kOrf{"orf",
                  make_orf,
                  {PLATE_MEND_ORF_NOT_FOUND, -1144},
                  {PLATE_MEND_ORF_OUT_OF_RANGE, -1143},
                  {PLATE_MEND_ORF_MERGE_FAILED, -1146},
                  -1147,
                  -1142,
                  "corrupt file not found tag, reason is Data can not found",
                  "corrupt file offset is far, reason is Access out of range",
                  "orf merge data error is Access out of range"};

const Format kSr2{"sr2",
                  make_sr2,
                  {PLATE_MEND_SR2_NOT_FOUND, -1134},
                  {PLATE_MEND_SR2_OUT_OF_RANGE, -1133},
                  {PLATE_MEND_SR2_MERGE_FAILED, -1135},
                  -1136,
                  -1132,
                  "corrupt file not found tag",
                  "corrupt file offset is far",
                  "sr2  merge data error: Access out of range"};

/// A test in both formats.
class StripGroupRepairs : public StripGroupFixture, public ::testing::WithParamInterface<Format> {
  protected:
    StripGroupRepairs() : StripGroupFixture(GetParam().extension, GetParam().make) {}

    using RepairFixture::advance;
    std::int32_t advance(const Bytes& damaged_bytes, const Bytes& sample_bytes) {
        return advance(format.extension, damaged_bytes, sample_bytes);
    }

    void expect_merge_failure() const {
        EXPECT_THAT(lines(), ElementsAre(log.cloned, log.failed(format.merge_failed_text)));
    }

    const Format& format = GetParam();
    const std::uint32_t group = original.image_ifd().entry(273); ///< Its offset in the original.
};

INSTANTIATE_TEST_SUITE_P(Formats, StripGroupRepairs, ::testing::Values(kOrf, kSr2),
                         [](const auto& format) { return format.param.extension; });

// ---- the picture

/// A test in both formats and both byte orders.
class StripGroupPicture : public StripGroupFixture,
                          public ::testing::WithParamInterface<std::tuple<Format, ByteOrder>> {
  protected:
    StripGroupPicture() : StripGroupPicture(std::get<0>(GetParam()), std::get<1>(GetParam())) {}

    using RepairFixture::advance;
    std::int32_t advance(const Bytes& damaged_bytes) {
        return advance(format.extension, damaged_bytes, sample.bytes);
    }

    const Format& format;
    const ByteOrder order;
    const std::uint32_t group = original.image_ifd().entry(273);

  private:
    StripGroupPicture(const Format& of, ByteOrder in)
        : StripGroupFixture(of.extension, of.make, in), format(of), order(in) {}
};

INSTANTIATE_TEST_SUITE_P(Formats, StripGroupPicture,
                         ::testing::Combine(::testing::Values(kOrf, kSr2),
                                            ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig)),
                         [](const auto& test) {
                             const bool big = std::get<1>(test.param) == ByteOrder::kBig;
                             return std::get<0>(test.param).extension + (big ? "_MM" : "_II");
                         });

TEST_P(StripGroupPicture, BuiltPhotographIsDecodedToItsSamples) {
    for (const StripPhoto& photo : {sample, original}) {
        const auto picture = decode_raw(photo.bytes);
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->width, 96U);
        EXPECT_EQ(picture->height, 64U);
        EXPECT_EQ(picture->errors, 0U);
        EXPECT_EQ(picture->samples, photo.samples);
        EXPECT_TRUE(jpeg_decodes(part(photo.bytes, photo.preview, photo.preview + photo.preview_size)));
        const TiffDirectory& ifd = photo.image_ifd();
        EXPECT_EQ(ifd.entry(278) - ifd.entry(273), 36U);
        EXPECT_EQ(ifd.entry(279) - ifd.entry(273), 48U);
    }
    EXPECT_NE(sample.samples, original.samples);
    EXPECT_NE(sample.image, original.image);
}

TEST_P(StripGroupPicture, IsRepairedWhenAllBeforeTheStripOffsetsEntryIsDestroyed) {
    const Bytes front = noise(group, 7);
    for (const Bytes& bytes :
         {damaged, joined(front, part(original.bytes, front.size(), original.bytes.size()))}) {
        EXPECT_EQ(decode_raw(bytes), std::nullopt);
        EXPECT_EQ(advance(bytes), 0);
        ASSERT_EQ(output(), expected_output(sample, original, original.bytes));
        const auto picture = decode_raw(output_path);
        ASSERT_TRUE(picture);
        EXPECT_EQ(*picture, *decode_raw(original.bytes));
        EXPECT_EQ(picture->samples, original.samples);
    }
}

TEST_P(StripGroupPicture, IsRepairedWhenTheHeaderAloneIsDestroyed) {
    EXPECT_EQ(advance(zeroed(original.bytes, 0, 8)), 0);
    ASSERT_TRUE(output());
    EXPECT_EQ(decode_raw(*output()), decode_raw(original.bytes));
}

TEST_P(StripGroupPicture, IsRepairedWhenNothingButTheGroupAndTheImageIsLeft) {
    Bytes bytes(original.bytes.size());
    put_bytes(bytes, group, part(original.bytes, group, group + 60));
    put_bytes(bytes, original.image, part(original.bytes, original.image, original.bytes.size()));
    EXPECT_EQ(advance(bytes), 0);
    ASSERT_TRUE(output());
    EXPECT_EQ(decode_raw(*output()), decode_raw(original.bytes));
}

TEST_P(StripGroupPicture, SamplesPreviewsAreBlankedAndItsOwnFileIsLeftAlone) {
    EXPECT_EQ(advance(damaged), 0);
    for (const auto& [start, size] : {std::pair{sample.preview, sample.preview_size},
                                      std::pair{sample.thumbnail, sample.thumbnail_size}}) {
        const Bytes preview = part(*output(), start, start + size);
        EXPECT_EQ(part(preview, 0, 30), Bytes(30));
        EXPECT_FALSE(jpeg_decodes(preview));
        EXPECT_EQ(part(preview, 30, size), part(sample.bytes, start + 30, start + size));
    }
    EXPECT_EQ(read_file(sample_path), sample.bytes);
    EXPECT_EQ(read_file(damaged_path), damaged);
}

TEST_P(StripGroupPicture, LengthIsPatchedInTheFilesOwnOrder) {
    StripPhoto other = original;
    put_u32(other.bytes, other.image_ifd().value(279), 0x00012345, order);
    EXPECT_EQ(advance(front_destroyed(other)), 0);
    ASSERT_EQ(output(), expected_output(sample, other, other.bytes));
    EXPECT_EQ(get_u32(*output(), sample.image_ifd().value(279), order), 0x00012345U);
    EXPECT_EQ(get_u32(*output(), sample.image_ifd().value(273), order), sample.image);
}

TEST_P(StripGroupPicture, DamagedFileOfTheOtherByteOrderIsNotFound) {
    const ByteOrder other = order == ByteOrder::kLittle ? ByteOrder::kBig : ByteOrder::kLittle;
    EXPECT_EQ(advance(without_pictures(format.make({.order = other}))), format.not_found.code);
    EXPECT_THAT(lines(), ElementsAre(log.cloned, log.failed(format.not_found_text)));
}

// ---- success

TEST_P(StripGroupRepairs, TailLongerThanTheLengthTagIsKeptAndTheTagStays) {
    const Bytes tail = noise(1000, 3);
    EXPECT_EQ(advance(joined(damaged, tail), sample.bytes), 0);
    EXPECT_EQ(output(), joined(expected_output(sample, original, original.bytes), tail));
    EXPECT_EQ(get_u32(*output(), sample.image_ifd().value(279), ByteOrder::kLittle), original.image_size);
}

TEST_P(StripGroupRepairs, ImageCutShortIsCopiedAsFarAsItGoes) {
    EXPECT_EQ(advance(part(damaged, 0, original.image + 100), sample.bytes), 0);
    EXPECT_EQ(output(), part(expected_output(sample, original, original.bytes), 0, sample.image + 100));
}

TEST_P(StripGroupRepairs, WhatTheSampleHoldsAfterItsImageStartIsDropped) {
    EXPECT_EQ(advance(damaged, joined(sample.bytes, noise(500, 4))), 0);
    EXPECT_EQ(output(), expected_output(sample, original, original.bytes));
}

TEST_P(StripGroupRepairs, FirstGroupThatFitsIsUsedAfterCandidatesThatFail) {
    Bytes bytes = damaged;
    put_u16(bytes, 0, 273, ByteOrder::kLittle);
    put_u16(bytes, 7, 273, ByteOrder::kLittle); // Alone, at an odd offset.
    EXPECT_EQ(advance(bytes, sample.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample, original, original.bytes));
}

TEST_P(StripGroupRepairs, GroupBeforeTheTrueOneWins) {
    Bytes bytes = damaged;
    put_bytes(bytes, 1, part(original.bytes, group, group + 60));
    put_u32(bytes, 1 + 8, static_cast<std::uint32_t>(bytes.size() - 5), ByteOrder::kLittle);
    EXPECT_EQ(advance(bytes, sample.bytes), 0);
    EXPECT_EQ(output()->size(), sample.image + 5U);
}

TEST_P(StripGroupRepairs, GroupAtTheVeryStartOfTheDamagedFileIsFound) {
    Bytes bytes = part(original.bytes, group, group + 60);
    put_u32(bytes, 8, 60, ByteOrder::kLittle);
    bytes = joined(bytes, part(original.bytes, original.image, original.bytes.size()));
    EXPECT_EQ(advance(bytes, sample.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample, original, original.bytes));
}

TEST_P(StripGroupRepairs, DamagedFileWithNoImageAfterItsStartReturnsTheSamplesPartAlone) {
    Bytes bytes = damaged;
    put_u32(bytes, group + 8, static_cast<std::uint32_t>(bytes.size()), ByteOrder::kLittle);
    EXPECT_EQ(advance(bytes, sample.bytes), 0);
    EXPECT_EQ(output(), part(expected_output(sample, original, original.bytes), 0, sample.image));
}

TEST_P(StripGroupRepairs, SampleItselfCanBeTheDamagedFile) {
    const auto file = folder / ("one." + format.extension);
    const auto out = folder / ("out." + format.extension);
    write_file(file, sample.bytes);
    EXPECT_EQ(advance(file, file, out), 0);
    EXPECT_EQ(read_file(out), expected_output(sample, sample, sample.bytes));
}

// ---- nothing found in the damaged file

TEST_P(StripGroupRepairs, DamagedFileWithoutTheGroupIsNotFound) {
    const TiffDirectory& ifd = original.image_ifd();
    for (const std::uint16_t tag : std::vector<std::uint16_t>{273, 278, 279}) {
        reset_stand_ins();
        // Blank pixels, so that no bytes of a tag are in the image by chance.
        Bytes bytes = zeroed(damaged, ifd.entry(279) + 12, damaged.size());
        put_u16(bytes, ifd.entry(tag), 0x7777, ByteOrder::kLittle);
        EXPECT_EQ(advance(bytes, sample.bytes), format.not_found.code);
        expect_failure(format.not_found_text);
        EXPECT_EQ(work_file(working_copy), blanked(sample.bytes, sample));
    }
    EXPECT_EQ(format.not_found.code, format.not_found.number);
}

TEST_P(StripGroupRepairs, StripEntriesSideBySideAreNotRecognised) {
    Bytes bytes = Bytes(200);
    for (const std::uint16_t tag : std::vector<std::uint16_t>{273, 278, 279}) {
        const std::uint32_t entry = original.image_ifd().entry(tag);
        put_bytes(bytes, tag == 273 ? 0U : (tag - 277U) * 12, part(original.bytes, entry, entry + 12));
    }
    EXPECT_EQ(get_u16(bytes, 12, ByteOrder::kLittle), 278);
    EXPECT_EQ(get_u16(bytes, 24, ByteOrder::kLittle), 279);
    EXPECT_EQ(advance(bytes, sample.bytes), format.not_found.code);
    expect_failure(format.not_found_text);
}

TEST_P(StripGroupRepairs, DamagedFileOfOneByteIsNotFound) {
    EXPECT_EQ(advance(Bytes{0x11}, sample.bytes), format.not_found.code);
    expect_failure(format.not_found_text);
}

// ---- outside the damaged file

TEST_P(StripGroupRepairs, HitWithin49BytesOfTheDamagedFilesEndIsOutOfRange) {
    for (const std::size_t left : {2U, 49U}) {
        reset_stand_ins();
        Bytes bytes(200);
        put_u16(bytes, bytes.size() - left, 273, ByteOrder::kLittle);
        EXPECT_EQ(advance(bytes, sample.bytes), format.out_of_range.code);
        expect_failure(format.out_of_range_text);
    }
    EXPECT_EQ(format.out_of_range.code, format.out_of_range.number);
}

TEST_P(StripGroupRepairs, Hit50BytesBeforeTheDamagedFilesEndIsSkipped) {
    Bytes bytes(200);
    put_u16(bytes, bytes.size() - 50, 273, ByteOrder::kLittle);
    EXPECT_EQ(advance(bytes, sample.bytes), format.not_found.code);
}

TEST_P(StripGroupRepairs, GroupCutInItsLastEntryIsOutOfRange) {
    for (const std::uint32_t length : {50U, 59U}) {
        reset_stand_ins();
        EXPECT_EQ(advance(part(damaged, 0, group + length), sample.bytes), format.out_of_range.code);
        expect_failure(format.out_of_range_text);
    }
    // Whole: the search is over, and the image is not there.
    EXPECT_EQ(advance(part(damaged, 0, group + 60), sample.bytes), format.merge_failed.code);
}

// ---- the merge

TEST_P(StripGroupRepairs, DamagedImageStartPastTheFileFailsInTheMerge) {
    for (const std::uint32_t beyond : {1U, 0x70000000U}) {
        reset_stand_ins();
        Bytes bytes = damaged;
        put_u32(bytes, group + 8, static_cast<std::uint32_t>(bytes.size()) + beyond, ByteOrder::kLittle);
        EXPECT_EQ(advance(bytes, sample.bytes), format.merge_failed.code);
        expect_merge_failure();
        EXPECT_EQ(output(), part(expected_output(sample, original, original.bytes), 0,
                                 sample.image)); // What was written stays.
        EXPECT_THAT(work_files(), ElementsAre(working_copy));
    }
    EXPECT_EQ(format.merge_failed.code, format.merge_failed.number);
}

TEST_P(StripGroupRepairs, SampleImageStartPastTheFileFailsInTheMerge) {
    Bytes bytes = sample.bytes;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    put_u32(bytes, sample.image_ifd().value(273), size + 1, ByteOrder::kLittle);
    EXPECT_EQ(advance(damaged, bytes), format.merge_failed.code);
    expect_merge_failure();
    EXPECT_EQ(output(), Bytes{});
    put_u32(bytes, sample.image_ifd().value(273), size, ByteOrder::kLittle);
    EXPECT_EQ(advance(damaged, bytes), 0);
}

// ---- whatever the files hold

TEST_P(StripGroupRepairs, AnyCutOfEitherFileEndsInSuccessOrACode) {
    const auto ends_well = AnyOf(0, AllOf(Ge(format.first_code), Le(format.last_code)));
    for (std::size_t size = 1; size < sample.bytes.size(); size += size < 800 ? 31 : 509) {
        EXPECT_THAT(advance(damaged, part(sample.bytes, 0, size)), ends_well) << size;
        EXPECT_THAT(advance(part(original.bytes, 0, size), sample.bytes), ends_well) << size;
    }
}

TEST_P(StripGroupRepairs, AnyBytesAtTheStartEndInSuccessOrACode) {
    const auto ends_well = AnyOf(0, AllOf(Ge(format.first_code), Le(format.last_code)));
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
        EXPECT_THAT(advance(damaged, bad_sample), ends_well) << seed;
        EXPECT_THAT(advance(bad_damaged, sample.bytes), ends_well) << seed;
    }
}

} // namespace
} // namespace test
