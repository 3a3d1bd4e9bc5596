#include "judge/Judge.h"

#include "support/ArwPhoto.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

} // namespace
} // namespace test
