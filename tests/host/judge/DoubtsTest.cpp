#include "judge/Judge.h"
#include "judge/Repeats.h"

#include "support/ArwPhoto.h"
#include "support/Cr3Photo.h"
#include "support/HeadlessPhoto.h"
#include "support/NefPhoto.h"
#include "support/Scene.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test {
namespace {

using plate_mend::host::find_repeats;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// What the judge finds in files that decode without an error.
class Doubts : public ::testing::Test {
  protected:
    [[nodiscard]] std::vector<std::string> findings(const Bytes& file, const Bytes& sample = {}) const {
        const auto put = [this](const char* name, const Bytes& bytes) {
            write_file(folder_ / name, bytes);
            return folder_ / name;
        };
        const auto result = put("photo.arw", file);
        const auto lender = sample.empty() ? std::filesystem::path() : put("sample.arw", sample);
        return plate_mend::host::judge_raw({result, {}, lender, {}}).findings;
    }

    /// Of what was made from a damaged file by its own tables.
    [[nodiscard]] std::vector<std::string> findings_of(const Bytes& result, const Bytes& damaged) const {
        write_file(folder_ / "result.arw", result);
        write_file(folder_ / "damaged.arw", damaged);
        return plate_mend::host::judge_raw({.result = folder_ / "result.arw",
                                            .damaged = folder_ / "damaged.arw",
                                            .sample = folder_ / "result.arw",
                                            .picture = {}})
            .findings;
    }

    static ArwPhoto photo(unsigned number) {
        return ArwPhoto({.number = number, .width = 480, .height = 360});
    }

  private:
    TempDir folder_;
};

TEST_F(Doubts, AreNoneInIntactPhotographs) {
    EXPECT_THAT(findings(photo(1).bytes), IsEmpty());
    EXPECT_THAT(findings(HeadlessPhoto({}).bytes), IsEmpty());
}

TEST_F(Doubts, PreviewShowsAnotherPictureInSomeParts) {
    ArwPhoto own = photo(1);
    const ArwPhoto other = photo(2);
    const std::size_t half = own.image_size / 2; // At the start of a row, where no row shows it.
    put_bytes(own.bytes, own.image_offset + half,
              part(other.bytes, other.image_offset + half, other.bytes.size()));
    EXPECT_THAT(findings(own.bytes),
                Contains(HasSubstr("parts of the picture differ from the file's own preview")));
}

TEST_F(Doubts, AnotherPhotographIsAfterIt) {
    EXPECT_THAT(findings(joined(photo(1).bytes, photo(2).bytes)),
                Contains("the file holds another photograph, and nothing shows which one is meant"));
}

TEST_F(Doubts, SamePhotographAfterItIsNoOther) {
    EXPECT_THAT(findings(joined(photo(1).bytes, photo(1).bytes)), IsEmpty());
}

TEST_F(Doubts, PhotographOfAnotherCameraIsBeforeIt) {
    const Bytes foreign = NefPhoto({.number = 7, .width = 320, .height = 240}).bytes;
    EXPECT_THAT(findings(joined(foreign, photo(1).bytes), photo(2).bytes),
                Contains("the file begins with a photograph of another camera"));
}

TEST(DoubtsAboutCr3, AnotherPhotographIsBesideIt) {
    const TempDir folder;
    const auto put = [&](const char* name, const Bytes& bytes) {
        write_file(folder / name, bytes);
        return folder / name;
    };
    const Bytes one = Cr3Photo({.number = 1, .pictures = true}).bytes;
    const Bytes two = Cr3Photo({.number = 2, .maker_notes = 700, .pictures = true}).bytes;
    const auto findings = [&](const Bytes& damaged, const Bytes& result) {
        return plate_mend::host::judge_raw({.result = put("result.cr3", result),
                                            .damaged = put("damaged.cr3", damaged),
                                            .sample = put("sample.cr3", one),
                                            .picture = {}})
            .findings;
    };
    const auto is_doubted =
        Contains("the file holds another photograph, and nothing shows which one is meant");
    EXPECT_THAT(findings(joined(one, two), two), is_doubted);
    EXPECT_THAT(findings(joined(two, one), two), is_doubted);
    EXPECT_THAT(findings(joined(two, two), two), ::testing::Not(is_doubted));
    EXPECT_THAT(findings(two, two), IsEmpty());
}

TEST_F(Doubts, ImageWithoutAHeadIsAfterIt) {
    const ArwPhoto other = photo(2);
    EXPECT_THAT(findings(joined(photo(1).bytes, zeroed(other.bytes, 0, other.image_offset))),
                Contains("what follows the image may be another one, and nothing shows which one is meant"));
    EXPECT_THAT(findings(joined(photo(1).bytes, noise(other.bytes.size(), 1))), IsEmpty()) << "noise is none";
}

TEST_F(Doubts, AnotherPhotographBeginsWithinTheImage) {
    ArwPhoto own = photo(1);
    const Bytes other = photo(2).bytes;
    const std::size_t at = own.image_offset + 200 * 512;
    put_bytes(own.bytes, at, part(other, 0, own.bytes.size() - at));
    EXPECT_THAT(findings(own.bytes), Contains("another photograph begins within the image"));
}

/// The tables of what is inside were taken, since those around it lead to a torn image.
TEST_F(Doubts, PhotographIsWithinAnother) {
    const auto is_doubted = Contains("the image is within another one, and nothing shows which one is meant");
    const auto findings_within = [this](const Bytes& before, const Bytes& after) {
        return findings_of(photo(2).bytes, joined(joined(before, photo(2).bytes), after));
    };
    const ArwPhoto around = photo(1);
    const std::size_t at = around.image_offset + around.image_size / 2;
    const Bytes before = part(around.bytes, 0, at);
    const Bytes after = part(around.bytes, at + 512, around.bytes.size());
    EXPECT_THAT(findings_within(before, after), is_doubted);
    EXPECT_THAT(findings_within(zeroed(before, 0, around.image_offset), after), is_doubted) << "no head";
    EXPECT_THAT(findings_within(noise(before.size(), 1), after), ::testing::Not(is_doubted))
        << "noise is none";
    EXPECT_THAT(findings_within(before, {}), ::testing::Not(is_doubted)) << "there is no room for the other";
}

TEST_F(Doubts, CellsAreOfNoCamera) {
    HeadlessPhoto cells({});
    put_bytes(cells.bytes, cells.image_offset + 100 * 512 + 64, Bytes(16, 0x20));
    EXPECT_THAT(findings(cells.bytes), Contains("cells that no camera writes: row 100"));
}

TEST_F(Doubts, SectorIsThereTwice) {
    const auto repeat = [](const Bytes& file, std::size_t image, std::size_t count) {
        constexpr std::size_t kSectorBytes = 512;
        const std::size_t at = image + 100 * kSectorBytes;
        const std::size_t from = image + 92 * kSectorBytes;
        return with(file, at, part(file, from, from + count));
    };
    const ArwPhoto rows = ArwPhoto({.number = number_of(Mood::kFlat, 1), .width = 512, .height = 360});
    EXPECT_THAT(findings(rows.bytes), IsEmpty());
    EXPECT_THAT(findings(repeat(rows.bytes, rows.image_offset + 256, 512)),
                Contains("sectors of the image data are there twice: 2 rows from row 46 on"));
    const HeadlessPhoto cells({});
    EXPECT_THAT(findings(repeat(cells.bytes, cells.image_offset, 4096)),
                Contains("sectors of the image data are there twice: 16 rows from row 92 on"));
    const HeadlessPhoto stream(
        {.kind = HeadlessPhoto::Kind::kNikonLossless14, .number = number_of(Mood::kFlat, 1)});
    EXPECT_THAT(findings(stream.bytes), IsEmpty());
    EXPECT_THAT(findings(repeat(stream.bytes, stream.image_offset, 4096)),
                Contains("sectors of the image data are there twice"));
}

TEST(Repeats, AreFoundWhereverTheyBegin) {
    const Bytes bytes = noise(20000, 1);
    const auto found = find_repeats(with(bytes, 10100, part(bytes, 1140, 1140 + 600)));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].first, 1140U);
    EXPECT_EQ(found[0].second, 10100U);
    EXPECT_EQ(found[0].length, 600U);
    EXPECT_THAT(find_repeats(with(bytes, 10100, part(bytes, 1140, 1140 + 500))), IsEmpty());
    EXPECT_THAT(find_repeats(bytes), IsEmpty());
}

TEST(Repeats, OfPatternsDoNotCount) {
    Bytes bytes(100000, 0xFF);
    EXPECT_THAT(find_repeats(bytes), IsEmpty());
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        bytes[at] = static_cast<unsigned char>(at % 48);
    }
    EXPECT_THAT(find_repeats(bytes), IsEmpty());
    EXPECT_THAT(find_repeats(Bytes()), IsEmpty());
}

TEST(Repeats, OfEverythingTakeLinearTime) {
    const Bytes half = noise(4 << 20, 1);
    const auto found = find_repeats(joined(joined(half, half), joined(half, half)));
    ASSERT_FALSE(found.empty());
    EXPECT_LE(found.size(), 100U);
    EXPECT_GE(found[0].length, half.size());
}

TEST_F(Doubts, ColumnsShowDamageThatGoesColumnByColumn) {
    const HeadlessPhoto columns({.kind = HeadlessPhoto::Kind::kSonyDifferences});
    EXPECT_THAT(findings(columns.bytes), IsEmpty());
    const std::size_t middle = columns.image_offset + columns.image_size / 2;
    EXPECT_THAT(findings(with(columns.bytes, middle, noise(512, 1))),
                Contains(HasSubstr("column by column: ")));
}

} // namespace
} // namespace test
