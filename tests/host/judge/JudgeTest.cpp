#include "judge/Judge.h"

#include "support/ArwPhoto.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace test {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class TilesOfADng : public ::testing::Test {
  protected:
    [[nodiscard]] std::vector<std::string> findings() const {
        const auto file = directory_ / "photo.dng";
        write_file(file, photo_.bytes);
        return plate_mend::host::judge_raw({file, {}, {}, {}}).findings;
    }

    void overwrite_half_of_the_first_tile() {
        const std::size_t half = photo_.tile_byte_counts[0] / 2;
        put_bytes(photo_.bytes, photo_.tile_offsets[0] + half, noise(half, 1));
    }

    DngPhoto photo_;

  private:
    TempDir directory_;
};

TEST_F(TilesOfADng, AreCompleteInAnIntactFile) {
    EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(TilesOfADng, AreJudgedOneByOne) {
    overwrite_half_of_the_first_tile();
    EXPECT_THAT(findings(), Contains(StartsWith("1 of 6 parts of the compressed data does not end")));
}

TEST_F(TilesOfADng, AreReadOnceWhereManyHaveOneOffset) {
    overwrite_half_of_the_first_tile();
    for (std::size_t tile = 1; tile < photo_.tiles(); ++tile) {
        put_u32(photo_.bytes, photo_.offset_slot(tile), photo_.tile_offsets[0], photo_.order);
    }
    EXPECT_THAT(findings(), Contains(StartsWith("1 of 1 parts of the compressed data does not end")));
}

/// The findings in a result whose damaged file has some bytes fewer or more than its sample.
std::vector<std::string> findings_of(const std::string& extension, const Bytes& sample, const Bytes& result) {
    const TempDir folder;
    const auto put = [&](const char* name, const Bytes& bytes) {
        write_file(folder / (name + extension), bytes);
        return folder / (name + extension);
    };
    return plate_mend::host::judge_raw(
               {put("result", sample), put("damaged", result), put("sample", sample), {}})
        .findings;
}

TEST(JudgedCr3, CountsBytesInTheSingularAndThePlural) {
    const Bytes photo = Cr3Photo({.pictures = true}).bytes;
    EXPECT_THAT(findings_of(".cr3", photo, part(photo, 0, photo.size() - 1)),
                Contains("the damaged file is 1 byte shorter than its tables say"));
    EXPECT_THAT(findings_of(".cr3", photo, part(photo, 0, photo.size() - 2)),
                Contains("the damaged file is 2 bytes shorter than its tables say"));
    EXPECT_THAT(findings_of(".cr3", photo, joined(photo, {1})),
                Contains("1 byte follows the image data of the damaged file"));
    EXPECT_THAT(findings_of(".cr3", photo, joined(photo, {1, 1})),
                Contains("2 bytes follow the image data of the damaged file"));
}

TEST(JudgedArw, CountsBytesInTheSingularAndThePlural) {
    const TempDir folder;
    const Bytes photo = ArwPhoto().bytes;
    const auto result = folder / "result.arw";
    const auto sample = folder / "sample.arw";
    write_file(sample, photo);
    const auto findings = [&](std::size_t fewer, std::uint64_t filled) {
        write_file(result, part(photo, 0, photo.size() - fewer));
        return plate_mend::host::judge_raw({result, {}, sample, {}, filled}).findings;
    };
    EXPECT_THAT(findings(0, 1), Contains("1 byte is lost; a zero takes its place at the end"));
    EXPECT_THAT(findings(0, 2), Contains("2 bytes are lost; zeros take their place at the end"));
}

/// An image of 360 rows that the raw engine has put together anew, as it says, with ten of them lost.
class MendedRows : public ::testing::Test {
  protected:
    MendedRows() {
        image_ = {
            .pieces = 1, .pieces_found = 1, .pieces_mended = 1, .frame_width = 480, .frame_height = 360};
        image_.pixels = std::uint64_t{480} * 360;
        image_.pixels_lost = std::uint64_t{480} * 10;
        image_.lost = {{0, 200, 480, 10}};
        image_.offset = photo_.image_offset;
    }

    void overwrite_rows(std::size_t first, const Bytes& bytes) {
        put_bytes(photo_.bytes, photo_.image_offset + first * kRow, bytes);
    }

    [[nodiscard]] plate_mend::host::Judgement judgement() const {
        const TempDir folder;
        const auto file = folder / "photo.arw";
        write_file(file, photo_.bytes);
        return plate_mend::host::judge_raw(
            {.result = file, .damaged = file, .sample = file, .picture = {}, .image = image_});
    }

    static constexpr std::size_t kRow = std::size_t{480} * 2;
    ArwPhoto photo_{ArwPhoto::Options{.width = 480, .height = 360}};
    plate_mend::host::FoundImage image_;
};

constexpr const char* kTenRowsLost = "2.8 % of the pixels are lost and were filled from their neighbours";

TEST_F(MendedRows, ArePromisedByTheirPixels) {
    overwrite_rows(200, Bytes(10 * kRow));
    const auto judged = judgement();
    EXPECT_THAT(judged.findings, ::testing::ElementsAre(kTenRowsLost));
    EXPECT_EQ(judged.rows_good, 1.0);
    EXPECT_EQ(judged.pixels_good, 0.9722);
    ASSERT_TRUE(judged.place);
    EXPECT_EQ(judged.place->sensor_height, 360U);
}

TEST_F(MendedRows, ArePromisedWithoutOthersThatShowDamage) {
    overwrite_rows(200, Bytes(10 * kRow));
    overwrite_rows(100, Bytes(18 * kRow));
    const auto judged = judgement();
    EXPECT_THAT(judged.findings, Contains(StartsWith("runs of one value")));
    EXPECT_THAT(judged.findings, Contains(kTenRowsLost));
    ASSERT_TRUE(judged.pixels_good);
    EXPECT_LE(*judged.pixels_good, 0.9222);
    EXPECT_GT(*judged.pixels_good, 0.9);
}

TEST_F(MendedRows, AreNotPromisedWhereTheDecoderFindsErrors) {
    overwrite_rows(200, noise(10 * kRow, 1));
    const auto judged = judgement();
    EXPECT_GT(judged.data_errors, 0U) << "the control";
    EXPECT_EQ(judged.rows_good, std::nullopt);
    EXPECT_EQ(judged.pixels_good, std::nullopt);
}

} // namespace
} // namespace test
