#include "e2e/strip_group/StripGroupFixture.h"
#include "support/Sr2Photo.h"

#include <plate_mend/plate_mend.h>

namespace test {
namespace {

class Sr2Repairs : public StripGroupFixture {
  protected:
    Sr2Repairs() : StripGroupFixture("sr2", make_sr2) {}
};

// ---- success

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

} // namespace
} // namespace test
