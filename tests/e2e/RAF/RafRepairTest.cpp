#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/Jpeg.h"
#include "support/RafPhoto.h"
#include "support/RawDecode.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const RepairLog kLog = repair_log("raf");
constexpr auto kLittle = ByteOrder::kLittle;

const auto kNoXpacket = ErrorLine("src/RAF/RafTools.cpp", "RAF::deal_high_jpg_data",
                                  "sample file has no xpacket, continue next step");
const auto kNoSpecialFlag = ErrorLine("src/RAF/RafTools.cpp", "RAF::deal_high_jpg_data",
                                      "sample file has no special flag, continue next step");

const Bytes kHeader{'I', 'I', 0x2A, 0x00, 0x08, 0x00, 0x00, 0x00};
const Bytes kBigHeader{'M', 'M', 0x00, 0x2A, 0x00, 0x00, 0x00, 0x08};

/// A sample and a damaged photograph from one camera, with different image offsets.
class RafRepairs : public RepairFixture {
  protected:
    [[nodiscard]] Bytes raw_data() const {
        return part(damaged_photo.bytes, damaged_photo.image_offset, damaged_photo.bytes.size());
    }
    [[nodiscard]] Bytes expected() const {
        return expected_output(sample_photo, damaged_photo.image_size, raw_data());
    }

    RafPhoto sample_photo{RafPhoto::Options{.number = 1}};
    RafPhoto damaged_photo{RafPhoto::Options{.number = 2, .maker_notes = 4096}};
};

// The picture is the judge.

TEST_F(RafRepairs, PictureIsRepairedWithEverythingBeforeTheSecondHeaderDestroyed) {
    ASSERT_NE(sample_photo.image_offset, damaged_photo.image_offset);
    const auto original = decode_raw(damaged_photo.bytes);
    ASSERT_TRUE(original.has_value());
    ASSERT_EQ(original->errors, 0U);
    ASSERT_NE(original, decode_raw(sample_photo.bytes));
    for (const Bytes& head : {Bytes(damaged_photo.second_header), noise(damaged_photo.second_header, 7)}) {
        Bytes damaged = with(damaged_photo.bytes, 0, head);
        // Only the header and two entries of the raw section must survive, and the raw data.
        damaged = zeroed(damaged, damaged_photo.second_header + 8, damaged_photo.strip_offsets_entry);
        damaged = zeroed(damaged, damaged_photo.strip_byte_counts_entry + 12, damaged_photo.image_offset);
        ASSERT_EQ(decode_raw(damaged), std::nullopt);
        ASSERT_EQ(advance("raf", damaged, sample_photo.bytes), 0);
        EXPECT_EQ(output(), expected());
        EXPECT_EQ(decode_raw(output_path), original);
    }
}

TEST_F(RafRepairs, PictureIsRepairedWithTheLengthLostToo) {
    Bytes damaged = zeroed(damaged_photo.bytes, 0, damaged_photo.second_header);
    damaged = zeroed(damaged, damaged_photo.strip_byte_counts_entry, damaged_photo.image_offset);
    ASSERT_EQ(advance("raf", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected()) << "the length reaches to the end of the file";
    const auto picture = decode_raw(output_path);
    ASSERT_TRUE(picture.has_value());
    EXPECT_EQ(picture, decode_raw(damaged_photo.bytes));
}

TEST_F(RafRepairs, PictureThatIsCutInsideItsRawDataKeepsWhatIsThere) {
    const std::size_t half = damaged_photo.image_offset + damaged_photo.image_size / 2;
    const Bytes damaged = part(zeroed(damaged_photo.bytes, 0, damaged_photo.second_header), 0, half);
    ASSERT_EQ(advance("raf", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo.image_size,
                                        part(damaged, damaged_photo.image_offset, half)))
        << "the length field keeps the tag's value";
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.repaired));

    // Filled up to that length it shows the upper half of the picture.
    const auto picture = decode_raw(joined(*output(), Bytes(damaged_photo.image_size / 2)));
    const auto original = decode_raw(damaged_photo.bytes);
    ASSERT_TRUE(picture.has_value());
    ASSERT_TRUE(original.has_value());
    ASSERT_EQ(picture->samples.size(), original->samples.size());
    const auto middle = static_cast<std::ptrdiff_t>(original->samples.size() / 2);
    EXPECT_TRUE(
        std::equal(original->samples.begin(), original->samples.begin() + middle, picture->samples.begin()));
}

TEST_F(RafRepairs, PreviewsOfTheSampleAreGoneFromTheOutput) {
    const auto preview_of = [](const RafPhoto& photo, const Bytes& bytes) {
        return part(bytes, photo.jpeg, photo.jpeg_end);
    };
    const auto thumbnail_of = [](const RafPhoto& photo, const Bytes& bytes) {
        return part(bytes, photo.thumb, photo.thumb + photo.thumb_size);
    };
    ASSERT_TRUE(jpeg_decodes(preview_of(sample_photo, sample_photo.bytes)));
    ASSERT_TRUE(jpeg_decodes(thumbnail_of(sample_photo, sample_photo.bytes)));
    ASSERT_EQ(advance("raf", damaged_photo.bytes, sample_photo.bytes), 0);
    ASSERT_TRUE(output().has_value());
    EXPECT_FALSE(jpeg_decodes(preview_of(sample_photo, *output())));
    EXPECT_EQ(thumbnail_of(sample_photo, *output()), Bytes(sample_photo.thumb_size));
}

TEST_F(RafRepairs, SampleOfAnotherSizeIsNotNoticed) {
    const RafPhoto other(RafPhoto::Options{.number = 3, .width = 96, .height = 64});
    EXPECT_EQ(advance("raf", damaged_photo.bytes, other.bytes), 0);
    EXPECT_EQ(output(), expected_output(other, damaged_photo.image_size, raw_data()));
}

TEST_F(RafRepairs, WhatIsAfterTheRawDataIsLeftOutOfBothFiles) {
    EXPECT_EQ(advance("raf", joined(damaged_photo.bytes, {1, 2, 3}), joined(sample_photo.bytes, {4, 5, 6})),
              0);
    EXPECT_EQ(output(), expected());
}

TEST_F(RafRepairs, LengthIsTheDamagedFilesWhateverTheSamples) {
    Bytes sample = sample_photo.bytes;
    put_u32(sample, sample_photo.strip_byte_counts_entry + 8, 0xFFFFFFFF, kLittle);
    EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), 0);
    EXPECT_EQ(output(), expected());
}

// Failures in the sample.

const auto kSampleOutOfRange = "sample file catch OutRangeException, reason is Access out of range";
const auto kSampleNotFound = "sample file catch NotFoundException, reason is Data can not found";
const auto kSampleBeyond = "sample file catch VisitingBeyondException, reason is Visiting beyond boundaries";
const auto kSampleIllegal = "sample file catch Exception, reason is Data is illegal";

class RafSample : public RafRepairs {
  protected:
    /// Repairs with this sample and expects the code and one line, the working copy to stay and no output.
    void expect_refused(const Bytes& sample, std::int32_t code, const std::string& line) {
        reset_stand_ins();
        EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), code);
        EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed(line)));
        EXPECT_EQ(output(), std::nullopt);
        EXPECT_THAT(work_files(), ElementsAre("temp.raf"));
        EXPECT_EQ(read_file(sample_path), sample) << "the user's file is not touched";
    }

    /// The sample with other bytes in place of its two headers.
    [[nodiscard]] Bytes with_headers(const Bytes& first, const Bytes& second) const {
        return with(with(sample_photo.bytes, sample_photo.first_header, first), sample_photo.second_header,
                    second);
    }
};

TEST_F(RafSample, WithoutTwoHeadersOfOneByteOrderIsNotFound) {
    expect_refused(with_headers(Bytes(8), Bytes(8)), -1154, kSampleNotFound);
    expect_refused(with_headers(kHeader, Bytes(8)), -1154, kSampleNotFound);
    expect_refused(with_headers(Bytes(8), kBigHeader), -1154, kSampleNotFound);
    expect_refused(with_headers(kHeader, kBigHeader), -1154, kSampleNotFound);
    expect_refused(with_headers(kBigHeader, kHeader), -1154, kSampleNotFound);
}

TEST_F(RafSample, WithTwoBigEndianHeadersIsIllegal) {
    expect_refused(with_headers(kBigHeader, kBigHeader), -1156, kSampleIllegal);
    // One little-endian header between them changes nothing.
    expect_refused(with(with_headers(kBigHeader, kBigHeader), sample_photo.ifd1 - 20, kHeader), -1156,
                   kSampleIllegal);
}

TEST_F(RafSample, WithTwoHeadersOfEachByteOrderIsLittleEndian) {
    const Bytes sample = joined(joined(sample_photo.bytes, kBigHeader), kBigHeader);
    EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), 0);
    EXPECT_EQ(output(), expected());
}

TEST_F(RafSample, FewBytesAreNotFound) {
    expect_refused({1}, -1154, kSampleNotFound);
    expect_refused(kHeader, -1154, kSampleNotFound);
    expect_refused(joined(kHeader, part(kHeader, 0, 7)), -1154, kSampleNotFound);
}

TEST_F(RafSample, WithIfd0PastItsEnd) {
    // Two headers side by side: the second one is read as an absurd count of entries.
    expect_refused(joined(kHeader, kHeader), -1153, kSampleBeyond);
}

TEST_F(RafSample, WithIfd1PastItsEnd) {
    Bytes sample = sample_photo.bytes;
    const auto size = static_cast<std::uint32_t>(sample.size());
    put_u32(sample, sample_photo.ifd0_next_link, size - sample_photo.first_header, kLittle);
    expect_refused(sample, -1153, kSampleBeyond);
    put_u32(sample, sample_photo.ifd0_next_link, size - sample_photo.first_header - 1, kLittle);
    expect_refused(sample, -1154, kSampleNotFound); // On the last byte: nothing is found after it.
}

TEST_F(RafSample, WithoutANextLinkIsSearchedFromItsFirstHeader) {
    Bytes sample = sample_photo.bytes;
    put_u32(sample, sample_photo.ifd0_next_link, 0, kLittle);
    EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), 0);
    Bytes expected_bytes = expected();
    put_u32(expected_bytes, sample_photo.ifd0_next_link, 0, kLittle);
    EXPECT_EQ(output(), expected_bytes);
}

TEST_F(RafSample, WithoutAThumbnailTagIsNotFound) {
    for (const std::uint32_t entry : {sample_photo.thumb_offset_entry, sample_photo.thumb_size_entry}) {
        expect_refused(with(sample_photo.bytes, entry, {0xFF, 0xFF}), -1154, kSampleNotFound);
    }
}

TEST_F(RafSample, WithoutAStripTagIsNotFound) {
    for (const std::uint32_t entry :
         {sample_photo.strip_offsets_entry, sample_photo.strip_byte_counts_entry}) {
        const Bytes sample = with(part(sample_photo.bytes, 0, sample_photo.image_offset), entry, {0, 0});
        expect_refused(sample, -1154, kSampleNotFound);
        EXPECT_EQ(work_file("temp.raf"), sample) << "nothing is blanked before all tags are read";
    }
}

TEST_F(RafSample, MayHaveStripTagsOfAnyType) {
    const Bytes sample = with(with(sample_photo.bytes, sample_photo.strip_offsets_entry + 2, {13, 0}),
                              sample_photo.strip_byte_counts_entry + 2, {13, 0});
    EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), 0);
    EXPECT_EQ(output(), with(with(expected(), sample_photo.strip_offsets_entry + 2, {13, 0}),
                             sample_photo.strip_byte_counts_entry + 2, {13, 0}));
}

TEST_F(RafSample, ThatEndsInItsStripEntryIsOutOfRange) {
    expect_refused(part(sample_photo.bytes, 0, sample_photo.strip_byte_counts_entry + 11), -1153,
                   kSampleOutOfRange);
    expect_refused(part(sample_photo.bytes, 0, sample_photo.strip_offsets_entry + 11), -1153,
                   kSampleOutOfRange);
}

TEST_F(RafSample, WithAThumbnailPastItsEndIsOutOfRange) {
    const auto beyond = static_cast<std::uint32_t>(sample_photo.bytes.size()) - sample_photo.first_header;
    Bytes sample = sample_photo.bytes;
    put_u32(sample, sample_photo.thumb_offset_entry + 8, beyond, kLittle);
    expect_refused(sample, -1153, kSampleOutOfRange);
    EXPECT_EQ(work_file("temp.raf"), sample) << "nothing is written";

    put_u32(sample, sample_photo.thumb_size_entry + 8, 0, kLittle); // A size of 0 needs no place.
    EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), 0);
}

TEST_F(RafSample, WithAThumbnailThatEndsOnItsLastByteIsZeroedAndOutOfRange) {
    Bytes sample = sample_photo.bytes;
    const auto size = static_cast<std::uint32_t>(sample.size());
    put_u32(sample, sample_photo.thumb_size_entry + 8, 100, kLittle);
    put_u32(sample, sample_photo.thumb_offset_entry + 8, size - 100 - sample_photo.first_header, kLittle);
    expect_refused(sample, -1153, kSampleOutOfRange);
    EXPECT_EQ(work_file("temp.raf"), zeroed(sample, size - 100, size));

    put_u32(sample, sample_photo.thumb_offset_entry + 8, size - 101 - sample_photo.first_header, kLittle);
    EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), 0);
}

TEST_F(RafSample, WithoutAnXmpPacketAndSpecialFlagIsBlankedFromItsFirstDhtThatIsLeft) {
    // The thumbnail has a DHT too, but it is zeroed before.
    const Bytes sample = with(sample_photo.bytes, sample_photo.xpacket_end, {'?'});
    const Bytes dht{0xFF, 0xC4};
    const auto first = std::search(sample.begin(), sample.end(), dht.begin(), dht.end());
    ASSERT_LT(first - sample.begin(), sample_photo.thumb + sample_photo.thumb_size);
    EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), 0);
    EXPECT_EQ(output(), with(expected(), sample_photo.xpacket_end, {'?'}));
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kNoXpacket, kNoSpecialFlag, kLog.repaired));
}

TEST_F(RafSample, WithoutAnXmpPacketIsBlankedFromTheSpecialFlag) {
    Bytes sample = with(sample_photo.bytes, sample_photo.xpacket_end, {'?'});
    sample[sample_photo.dht - 1] = 0;
    EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), 0);
    Bytes expected_bytes = with(expected(), sample_photo.xpacket_end, {'?'});
    expected_bytes[sample_photo.dht - 1] = 0;
    EXPECT_EQ(output(), expected_bytes);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kNoXpacket, kLog.repaired));
}

TEST_F(RafSample, WithoutADhtIsNotFoundWithItsThumbnailCleared) {
    Bytes sample = sample_photo.bytes;
    for (std::size_t at = sample_photo.dht; at + 1 < sample_photo.jpeg_end; ++at) {
        if (sample[at] == 0xFF && sample[at + 1] == 0xC4) {
            sample[at + 1] = 0xC5;
        }
    }
    EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), -1154);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kNoXpacket, kNoSpecialFlag, kLog.failed(kSampleNotFound)));
    EXPECT_EQ(work_file("temp.raf"),
              zeroed(sample, sample_photo.thumb, sample_photo.thumb + sample_photo.thumb_size));
}

TEST_F(RafSample, WithASpanThatEndsTheFileIsOutOfRange) {
    Bytes sample = sample_photo.bytes;
    for (std::size_t at = sample_photo.dqt; at + 1 < sample_photo.jpeg_end; ++at) {
        if (sample[at] == 0xFF && sample[at + 1] == 0xDB) {
            sample[at + 1] = 0xDA;
        }
    }
    sample = joined(sample, {0xFF, 0xDB});
    expect_refused(sample, -1153, kSampleOutOfRange);
    sample.push_back(0); // With one byte after the span it passes, though all before it is gone.
    EXPECT_EQ(advance("raf", damaged_photo.bytes, sample), 0);
}

// Failures in the damaged file.

const auto kDamagedOutOfRange = "corrupted file catch OutRangeException, reason is Access out of range";
const auto kDamagedNotFound = "corrupted file catch NotFoundExcepton, reason is Data can not found";

class RafDamaged : public RafRepairs {
  protected:
    /// Repairs this file and expects -1153 and one line, the working copy to stay and no output.
    void expect_refused(const Bytes& damaged, const std::string& line) {
        reset_stand_ins();
        EXPECT_EQ(advance("raf", damaged, sample_photo.bytes), -1153);
        EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed(line)));
        EXPECT_EQ(output(), std::nullopt);
        EXPECT_EQ(work_file("temp.raf"), blanked(sample_photo.bytes, sample_photo));
    }
};

TEST_F(RafDamaged, WithoutAnyHeaderIsNotFoundThoughTheTagsAreThere) {
    expect_refused(zeroed(damaged_photo.bytes, 0, damaged_photo.second_header + 8), kDamagedNotFound);
    expect_refused({1}, kDamagedNotFound);
}

TEST_F(RafDamaged, WithBigEndianHeadersOnlyIsNotFound) {
    expect_refused(with(zeroed(damaged_photo.bytes, 0, damaged_photo.second_header),
                        damaged_photo.second_header, kBigHeader),
                   kDamagedNotFound);
}

TEST_F(RafDamaged, WithoutAStripOffsetIsNotFound) {
    expect_refused(zeroed(damaged_photo.bytes, damaged_photo.strip_offsets_entry, damaged_photo.bytes.size()),
                   kDamagedNotFound);
}

TEST_F(RafDamaged, WithAStripOffsetOfAnotherTypeIsNotFound) {
    expect_refused(with(part(damaged_photo.bytes, 0, damaged_photo.image_offset),
                        damaged_photo.strip_offsets_entry + 2, {13, 0}),
                   kDamagedNotFound);
}

TEST_F(RafDamaged, ThatEndsInItsStripOffsetIsOutOfRange) {
    expect_refused(part(damaged_photo.bytes, 0, damaged_photo.strip_offsets_entry + 11), kDamagedOutOfRange);
    expect_refused(part(damaged_photo.bytes, 0, damaged_photo.strip_offsets_entry + 4), kDamagedOutOfRange);
    expect_refused(part(damaged_photo.bytes, 0, damaged_photo.strip_offsets_entry + 3), kDamagedNotFound);
}

TEST_F(RafDamaged, WithALengthThatIsFoundButCutIsOutOfRange) {
    // All of the photograph is there, but the first 0xF008 in the file is the one that the end cuts.
    Bytes damaged = zeroed(damaged_photo.bytes, damaged_photo.strip_byte_counts_entry,
                           damaged_photo.strip_byte_counts_entry + 12);
    damaged = joined(damaged, {0x08, 0xF0, 0x04, 0x00});
    expect_refused(damaged, kDamagedOutOfRange);
    expect_refused(joined(damaged, Bytes(7)), kDamagedOutOfRange);

    const Bytes whole = joined(damaged, Bytes(8)); // Now it is whole, with a length of 0.
    EXPECT_EQ(advance("raf", whole, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, 0, {}));
}

TEST_F(RafDamaged, WithALengthOfAnotherTypeGoesOnToItsEnd) {
    const Bytes damaged =
        joined(with(damaged_photo.bytes, damaged_photo.strip_byte_counts_entry + 2, {13, 0}), {1, 2, 3});
    EXPECT_EQ(advance("raf", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(),
              expected_output(sample_photo, damaged_photo.image_size + 3, joined(raw_data(), {1, 2, 3})));
}

TEST_F(RafDamaged, WithNoHeaderInReachHasAnAbsoluteOffset) {
    Bytes damaged = zeroed(damaged_photo.bytes, 0, damaged_photo.second_header + 8);
    put_u32(damaged, damaged_photo.strip_offsets_entry + 8, damaged_photo.image_offset, kLittle);
    const std::uint32_t far = damaged_photo.strip_offsets_entry - 137;
    EXPECT_EQ(advance("raf", with(damaged, far, kHeader), sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected());
    // One byte nearer the header owns the tag, and the offset leads past the end.
    put_u32(damaged, damaged_photo.strip_offsets_entry + 8,
            static_cast<std::uint32_t>(damaged.size()) - far - 1, kLittle);
    EXPECT_EQ(advance("raf", with(damaged, far + 1, kHeader), sample_photo.bytes), -1155);
}

TEST_F(RafDamaged, FirstOfTwoHeadersInReachWins) {
    const std::uint32_t decoy = damaged_photo.strip_offsets_entry - 136;
    Bytes damaged = with(damaged_photo.bytes, decoy, kHeader);
    put_u32(damaged, damaged_photo.strip_offsets_entry + 8, damaged_photo.image_offset - decoy, kLittle);
    EXPECT_EQ(advance("raf", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected());
}

// The merge.

class RafMerges : public RafRepairs {
  protected:
    /// Repairs with other places of the raw data than the true ones, as offsets in the files.
    std::int32_t repair_with(std::uint32_t sample_image, std::uint32_t damaged_image, std::uint32_t length) {
        Bytes sample = sample_photo.bytes;
        put_u32(sample, sample_photo.strip_offsets_entry + 8, sample_image - sample_photo.second_header,
                kLittle);
        Bytes damaged = damaged_photo.bytes;
        put_u32(damaged, damaged_photo.strip_offsets_entry + 8, damaged_image - damaged_photo.second_header,
                kLittle);
        put_u32(damaged, damaged_photo.strip_byte_counts_entry + 8, length, kLittle);
        // The working copy as the merge leaves it.
        patched = part(sample, 0, sample.size());
        patched = zeroed(patched, sample_photo.thumb, sample_photo.thumb + sample_photo.thumb_size);
        patched = zeroed(patched, sample_photo.dht, sample_photo.dqt + 2);
        put_u32(patched, sample_photo.strip_byte_counts_entry + 8, length, kLittle);
        reset_stand_ins();
        return advance("raf", damaged, sample);
    }

    [[nodiscard]] Bytes head() const { return part(patched, 0, sample_photo.image_offset); }

    static auto out_of_range() {
        return ElementsAre(kLog.cloned, kLog.failed("raf merge data error is Access out of range"));
    }

    Bytes patched;
    const std::uint32_t sample_size = static_cast<std::uint32_t>(sample_photo.bytes.size());
    const std::uint32_t damaged_size = static_cast<std::uint32_t>(damaged_photo.bytes.size());
};

TEST_F(RafMerges, SampleOffsetUpToItsEndSucceeds) {
    for (const std::uint32_t offset : {0U, sample_size - 1, sample_size}) {
        EXPECT_EQ(repair_with(offset, damaged_photo.image_offset, damaged_photo.image_size), 0);
        EXPECT_EQ(output(), joined(part(patched, 0, offset), raw_data()));
    }
}

TEST_F(RafMerges, SampleOffsetPastItsEndLeavesAnEmptyOutputAndThePatchedClone) {
    for (const std::uint32_t offset : {sample_size + 1, 0xFFFFFFFFU}) {
        EXPECT_EQ(repair_with(offset, damaged_photo.image_offset, damaged_photo.image_size), -1155);
        EXPECT_THAT(lines(), out_of_range());
        EXPECT_EQ(output(), Bytes{});
        EXPECT_EQ(work_file("temp.raf"), patched) << "the length is patched before";
    }
}

TEST_F(RafMerges, RawDataThatReachPastTheEndAreWrittenAsFarAsTheyGo) {
    const std::uint32_t start = damaged_size - 100;
    for (const std::uint32_t length : {99U, 100U, 101U, 0xFFFFFFFFU}) {
        EXPECT_EQ(repair_with(sample_photo.image_offset, start, length), 0);
        const std::uint32_t there = std::min(length, 100U);
        EXPECT_EQ(output(), joined(head(), part(damaged_photo.bytes, start, start + there)));
        ASSERT_TRUE(output().has_value());
        EXPECT_EQ(get_u32(*output(), sample_photo.strip_byte_counts_entry + 8, kLittle), length);
        EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.repaired));
        EXPECT_THAT(work_files(), IsEmpty());
    }
}

TEST_F(RafMerges, RawDataOnTheLastByteAreWritten) {
    EXPECT_EQ(repair_with(sample_photo.image_offset, damaged_size - 1, 2), 0);
    EXPECT_EQ(output(), joined(head(), {damaged_photo.bytes.back()}));
}

TEST_F(RafMerges, RawDataThatBeginAtOrPastTheEndFailWithTheSamplesPartWritten) {
    for (const std::uint32_t start : {damaged_size, damaged_size + 1, 0xFFFFFFFFU}) {
        EXPECT_EQ(repair_with(sample_photo.image_offset, start, 1), -1155);
        EXPECT_THAT(lines(), out_of_range());
        EXPECT_EQ(output(), head());
        EXPECT_EQ(work_file("temp.raf"), patched);
    }
}

TEST_F(RafMerges, LengthOfZeroCopiesNothingAndSucceedsWhereverItBegins) {
    for (const std::uint32_t start : {0U, damaged_size, damaged_size + 1, 0xFFFFFFFFU}) {
        EXPECT_EQ(repair_with(sample_photo.image_offset, start, 0), 0);
        EXPECT_EQ(output(), head());
    }
}

TEST_F(RafMerges, LostLengthWithRawDataAtTheEndOfTheFileCopiesNothing) {
    Bytes damaged = zeroed(damaged_photo.bytes, damaged_photo.strip_byte_counts_entry,
                           damaged_photo.strip_byte_counts_entry + 12);
    const std::size_t value = damaged_photo.strip_offsets_entry + 8;
    put_u32(damaged, value, damaged_size - damaged_photo.second_header, kLittle);
    EXPECT_EQ(advance("raf", damaged, sample_photo.bytes), 0);
    EXPECT_EQ(output(), expected_output(sample_photo, 0, {}));
    // One byte further the length wraps, and nothing is there.
    put_u32(damaged, value, damaged_size - damaged_photo.second_header + 1, kLittle);
    EXPECT_EQ(advance("raf", damaged, sample_photo.bytes), -1155);
}

} // namespace
} // namespace test
