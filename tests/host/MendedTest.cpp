#include "host/BatchFixture.h"
#include "host/GreyPixels.h"

#include "report/Mask.h"
#include "support/ArwPhoto.h"
#include "support/DngPhoto.h"
#include "support/RawDecode.h"

#include <gmock/gmock.h>

#include <algorithm>

// What the user gets of a photograph whose image has lost some of its pixels: the share, the areas, the mask.

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::Attempt;
using plate_mend::host::FrameArea;
using plate_mend::host::kMaskLost;
using plate_mend::host::kMaskOwn;
using plate_mend::host::Record;
using plate_mend::host::Verdict;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// A photograph without its head and with a tile of zeros: only the raw engine delivers the others.
class Mended : public BatchFixture {
  protected:
    Mended() {
        write_file(folder / "good.dng", DngPhoto(options(1)).bytes);
        put("card/IMG_1.dng", damaged_photo(2));
    }

    static DngPhoto::Options options(unsigned number) {
        return {.number = number, .width = 640, .height = 480, .tile_width = 128, .tile_height = 96};
    }

    /// The tile in the second row and third column is lost.
    static Bytes damaged_photo(unsigned number) {
        const DngPhoto photo(options(number));
        constexpr std::size_t kLost = 7;
        const std::size_t offset = photo.tile_offsets[kLost];
        return zeroed(zeroed(photo.bytes, 0, photo.tile_offsets[0]), offset,
                      offset + photo.tile_byte_counts[kLost]);
    }

    int repair(const std::vector<std::string>& more) {
        std::vector<std::string> arguments{"repair", "--no-fallback", "-s",     in("good.dng"),
                                           "--out",  in("mended"),    "--json", in("records.jsonl")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(arguments);
    }

    Record repair_one(const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{in("card/IMG_1.dng")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(repair(arguments), 1) << out << err;
        return records().at("IMG_1.dng");
    }
};

constexpr double kOwn = 1 - 128.0 * 96 / (640.0 * 480);

TEST_F(Mended, IsPartialWithTheShareOfItsOwnPixels) {
    const Record record = repair_one();
    ASSERT_EQ(record.verdict, Verdict::kPartial);
    const Attempt& taken = *record.taken();
    ASSERT_TRUE(taken.image);
    EXPECT_EQ(taken.image->pixels, 640U * 480);
    EXPECT_EQ(taken.image->pixels_lost, 128U * 96);
    EXPECT_EQ(taken.image->pixels_doubtful, 0U);
    EXPECT_THAT(taken.image->lost, ElementsAre(FrameArea{256, 96, 128, 96}));
    EXPECT_THAT(taken.judgement.findings,
                Contains("4.0 % of the pixels are lost and were filled from their neighbours"));
    if (taken.judgement.pixels_good) {
        EXPECT_LE(*taken.judgement.pixels_good, kOwn);
    }
}

TEST_F(Mended, HasAMaskOfItsLostPixelsBesideIt) {
    const Record record = repair_one({"--mask", ".mask.png"});
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_1.dng", "IMG_1.mask.png"));
    ASSERT_TRUE(record.mask);
    EXPECT_EQ(record.mask->path, in(fs::path("mended") / "IMG_1.mask.png"));
    EXPECT_EQ(record.mask->size, fs::file_size(folder / "mended" / "IMG_1.mask.png"));
    EXPECT_EQ(record.mask->sha256.size(), 64U);
    const GreyPixels mask = read_grey_png(folder / "mended" / "IMG_1.mask.png");
    const auto whole = decode_raw(DngPhoto(options(2)).bytes);
    ASSERT_TRUE(whole);
    ASSERT_EQ(mask.width, whole->width);
    ASSERT_EQ(mask.height, whole->height);
    EXPECT_EQ(std::count(mask.pixels.begin(), mask.pixels.end(), kMaskLost), 128 * 96);
    EXPECT_EQ(mask.at(256, 96), kMaskLost);
    EXPECT_EQ(mask.at(255, 96), kMaskOwn);
    EXPECT_EQ(mask.at(256, 95), kMaskOwn);
}

TEST_F(Mended, HasAMaskAtAPathOfItsOwn) {
    repair_one({"--mask", in("masks/one.png")});
    EXPECT_EQ(read_grey_png(folder / "masks" / "one.png").width, 640U);
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_1.dng"));
}

TEST_F(Mended, GetsTheMaskThatAnEarlierRunDidNotMake) {
    repair_one();
    ASSERT_EQ(repair({"--resume", "--mask", ".mask.png", "--force", in("card/IMG_1.dng")}), 1) << out << err;
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_1.dng", "IMG_1.mask.png"));
    const auto made = fs::last_write_time(folder / "mended" / "IMG_1.mask.png");
    ASSERT_EQ(repair({"--resume", "--mask", ".mask.png", "--force", in("card/IMG_1.dng")}), 1) << out << err;
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "IMG_1.mask.png"), made) << "nothing was left to do";
    fs::remove(folder / "mended" / "IMG_1.mask.png");
    ASSERT_EQ(repair({"--resume", "--mask", ".mask.png", "--force", in("card/IMG_1.dng")}), 1) << out << err;
    EXPECT_TRUE(fs::exists(folder / "mended" / "IMG_1.mask.png"));
}

TEST_F(Mended, NeverLosesAFileToItsMask) {
    const Bytes mine{'m', 'i', 'n', 'e'};
    put("mended/IMG_1.mask.png", mine);
    EXPECT_EQ(repair({"--mask", ".mask.png", in("card/IMG_1.dng")}), 3);
    EXPECT_EQ(bytes_of("mended/IMG_1.mask.png"), mine);
    EXPECT_THAT(files_below("mended"), ElementsAre("IMG_1.mask.png"));
    EXPECT_EQ(repair({"--mask", ".mask.png", "--force", in("card/IMG_1.dng")}), 1);
    EXPECT_NE(bytes_of("mended/IMG_1.mask.png"), mine);
    const Bytes input = bytes_of("card/IMG_1.dng");
    EXPECT_EQ(repair({"--mask", in("card/IMG_1.dng"), "--force", in("card/IMG_1.dng")}), 3);
    EXPECT_EQ(bytes_of("card/IMG_1.dng"), input);
    EXPECT_EQ(repair({"--mask", in("good.dng"), "--force", in("card/IMG_1.dng")}), 3);
    EXPECT_EQ(bytes_of("good.dng"), DngPhoto(options(1)).bytes);
}

TEST_F(Mended, MaskOfSeveralFilesNeedsAnEnding) {
    put("card/IMG_2.dng", damaged_photo(3));
    EXPECT_EQ(repair({"--mask", in("mask.png"), in("card")}), 64);
    EXPECT_THAT(err, HasSubstr("--mask names one file"));
    EXPECT_EQ(repair({"--mask", ".mask.png", in("card")}), 1) << out << err;
    EXPECT_THAT(files_below("mended"),
                ElementsAre("IMG_1.dng", "IMG_1.mask.png", "IMG_2.dng", "IMG_2.mask.png"));
}

TEST_F(Mended, StaysUnfilledWhereThatIsWanted) {
    const Record record = repair_one({"--no-fill"});
    EXPECT_FALSE(record.taken()->image->filled);
    EXPECT_THAT(record.taken()->judgement.findings, Contains("4.0 % of the pixels are lost and are zero"));
}

TEST_F(Mended, IsDrawnInTheContactSheet) {
    repair_one({"--report", in("sheet.html")});
    const Bytes page = bytes_of("sheet.html");
    const std::string html(page.begin(), page.end());
    EXPECT_THAT(html, HasSubstr(R"(<svg viewBox="0 0 640 480" aria-hidden="true">)"
                                R"(<rect class="lost" x="256" y="96" width="128" height="96"/></svg>)"));
    EXPECT_THAT(html, HasSubstr("lost pixels"));
}

/// A picture of rows that looks intact to a decoder: two clusters have changed places.
class SwappedClusters : public BatchFixture {
  protected:
    SwappedClusters() {
        write_file(folder / "good.arw", ArwPhoto(options(1)).bytes);
        Bytes swapped = photo_.bytes;
        put_bytes(swapped, first_, part(photo_.bytes, second_, second_ + kCluster));
        put_bytes(swapped, second_, part(photo_.bytes, first_, first_ + kCluster));
        put("card/IMG_1.arw", swapped);
        put("card/IMG_2.arw", photo_.bytes);
    }

    static ArwPhoto::Options options(unsigned number) {
        return {.number = number, .width = 1200, .height = 900};
    }

    static constexpr std::size_t kCluster = 4096;
    const ArwPhoto photo_{options(2)};
    const std::size_t first_ = (photo_.image_offset + std::size_t{1200} * 2 * 300) / 512 * 512;
    const std::size_t second_ = first_ + std::size_t{200} * kCluster;
};

TEST_F(SwappedClusters, AreNeverCalledIntactOrWholeUnlessTheyArePutBack) {
    run({"repair", "--no-fallback", "-s", in("good.arw"), "--out", in("mended"), "--json",
         in("records.jsonl"), in("card")});
    const auto all = records();
    EXPECT_EQ(all.at("IMG_2.arw").verdict, Verdict::kIntact) << "the control: nothing is wrong with it";
    const Record& swapped = all.at("IMG_1.arw");
    EXPECT_NE(swapped.verdict, Verdict::kIntact);
    if (swapped.verdict == Verdict::kWhole) {
        EXPECT_EQ(decode_raw(folder / "mended" / "IMG_1.arw"), decode_raw(photo_.bytes));
    }
}

TEST_F(SwappedClusters, AndWhatFollowsAWholePhotographIsNotCalledIntact) {
    fs::remove_all(folder / "card");
    put("card/IMG_3.arw", joined(bytes_of("good.arw"), photo_.bytes));
    run({"repair", "--no-fallback", "-s", in("good.arw"), "--out", in("mended"), "--json",
         in("records.jsonl"), in("card")});
    EXPECT_NE(records().at("IMG_3.arw").verdict, Verdict::kIntact);
}

} // namespace
} // namespace test
