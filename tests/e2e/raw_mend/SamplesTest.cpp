#include "RawMendFixture.h"

#include "support/RawDecode.h"

// Several samples: which one is used, and which error is returned.

namespace test {
namespace {

namespace fs = std::filesystem;

class RawMendSamples : public RawMendFixture {
  protected:
    /// Writes a file into the folder.
    [[nodiscard]] fs::path put(const std::string& name, const Bytes& bytes) const {
        write_file(folder / name, bytes);
        return folder / name;
    }

    const fs::path missing = folder / "missing";
    const fs::path text = put("text", noise(5000, 1));
    /// From another camera: nothing of its kind is in the damaged file.
    const fs::path stranger = put("stranger", DngPhoto({.number = 3, .tile_width = 32}).bytes);
};

TEST_F(RawMendSamples, TheFirstThatLeadsToAProvedResultIsUsed) {
    const fs::path second = put("second", DngPhoto({.number = 4, .private_data = 5000}).bytes);
    ASSERT_EQ(repair({sample, second}), RAW_MEND_OK);
    EXPECT_EQ(report.sample, 0U);
    const Bytes first_result = read_file(output);
    fs::remove(output);
    ASSERT_EQ(repair({second, sample}), RAW_MEND_OK);
    EXPECT_EQ(report.sample, 0U);
    EXPECT_NE(read_file(output), first_result);
}

TEST_F(RawMendSamples, ThatLeadNowhereArePassedOver) {
    ASSERT_EQ(repair({missing, text, stranger, sample}), RAW_MEND_OK);
    EXPECT_EQ(report.sample, 3U);
    EXPECT_EQ(decode_raw(read_file(output)), decode_raw(photo.bytes));
}

TEST_F(RawMendSamples, TheBestResultIsKeptIfNoneIsProvedAsAWhole) {
    // The image has lost a piece.
    const std::size_t lost = photo.tile_offsets[2];
    write_file(damaged, zeroed(without_head(photo), lost, lost + photo.tile_byte_counts[2]));
    // Half as many tiles again: more pieces are missing.
    const fs::path high = put("high", DngPhoto({.number = 3, .height = 192}).bytes);
    ASSERT_EQ(repair({text, high, sample, sample}), RAW_MEND_OK);
    EXPECT_EQ(report.sample, 2U);
    EXPECT_EQ(report.proved_piece_count, photo.tiles() - 1);
    EXPECT_EQ(report.piece_count, photo.tiles());
}

TEST_F(RawMendSamples, TheErrorIsThatOfTheOneThatCameFurthest) {
    EXPECT_EQ(repair({missing, missing}), RAW_MEND_SAMPLE_UNREADABLE);
    EXPECT_EQ(repair({missing, text}), RAW_MEND_SAMPLE_NOT_UNDERSTOOD);
    EXPECT_EQ(repair({text, missing}), RAW_MEND_SAMPLE_NOT_UNDERSTOOD);
    EXPECT_EQ(repair({text, stranger, missing}), RAW_MEND_NOT_FOUND);
    expect_nothing();
}

} // namespace
} // namespace test
