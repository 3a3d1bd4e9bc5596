#include "e2e/strip_group/StripGroupFixture.h"
#include "support/OrfPhoto.h"

#include <plate_mend/plate_mend.h>

namespace test {
namespace {

class OrfRepairs : public StripGroupFixture {
  protected:
    OrfRepairs() : StripGroupFixture("orf", make_orf) {}
};

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

} // namespace
} // namespace test
