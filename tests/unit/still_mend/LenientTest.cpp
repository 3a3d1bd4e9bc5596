#include "JpegHabits.h"
#include "Laboratory.h"
#include "Salvaged.h"
#include "assessment/LenientJpeg.h"
#include "assessment/LibjpegAssessment.h"
#include "header/HeaderMarkers.h"

#include "support/Jpeg.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <random>

#include <jpeglib.h>

// What only libjpeg reads is delivered as it reads it, and not claimed.

namespace test {
namespace {

class Lenient : public ::testing::Test {
  protected:
    void SetUp() override {
        if (encode(scene_pixels(1, 8, 8, 3), arithmetic).empty()) {
            GTEST_SKIP() << "this libjpeg has no arithmetic coding";
        }
    }

    static void arithmetic(jpeg_compress_struct& info) { info.arith_code = TRUE; }
};

TEST_F(Lenient, ADamagedArithmeticPictureIsWhatLibjpegDecodes) {
    for (const unsigned components : {1U, 3U, 4U}) {
        const Bytes jpeg = encode(scene_pixels(1, 328, 248, components), arithmetic);
        for (std::size_t tenth = 2; tenth < 10; ++tenth) {
            const Bytes cut = part(jpeg, 0, jpeg.size() * tenth / 10);
            const auto [code, output, report] = salvage(cut);
            ASSERT_EQ(code, STILL_MEND_OK) << components << ", " << tenth;
            EXPECT_TRUE(jpeg_decodes(output)) << components << ", " << tenth;
            const auto wanted = coefficients(cut);
            EXPECT_GE(same_mcus(wanted, coefficients(output)), report.guessed_mcu_count)
                << components << ", " << tenth;
            EXPECT_EQ(report.own_mcu_count, 0U) << components << ", " << tenth;
            EXPECT_GT(report.guessed_mcu_count, report.mcu_count * (tenth - 1) / 20)
                << components << ", " << tenth;
            EXPECT_LT(report.guessed_mcu_count, report.mcu_count) << components << ", " << tenth;
            EXPECT_EQ(report.width, 328U);
            EXPECT_EQ(report.height, 248U);
            EXPECT_EQ(report.warnings, static_cast<unsigned>(STILL_MEND_END_ADDED | STILL_MEND_PARTS_LOST |
                                                             STILL_MEND_REENCODED));
        }
    }
}

TEST_F(Lenient, AnArithmeticPictureWithAStrangeMarkerInItsDataIsReadUpToIt) {
    Bytes jpeg = encode(scene_pixels(1, 328, 248, 3), arithmetic);
    put_bytes(jpeg, jpeg.size() * 2 / 3, {0xFF, 0x42}); // libjpeg gives up at such a marker after the scan.
    const auto [code, output, report] = salvage(jpeg);
    ASSERT_EQ(code, STILL_MEND_OK);
    EXPECT_TRUE(jpeg_decodes(output));
    EXPECT_EQ(report.own_mcu_count, 0U);
    EXPECT_GT(report.guessed_mcu_count, report.mcu_count / 2);
}

TEST_F(Lenient, ACutProgressiveArithmeticPictureIsShown) {
    const Bytes jpeg = encode(scene_pixels(1, 328, 248, 3), [](jpeg_compress_struct& info) {
        info.arith_code = TRUE;
        jpeg_simple_progression(&info);
    });
    const auto [code, output, report] = salvage(part(jpeg, 0, jpeg.size() / 2));
    ASSERT_EQ(code, STILL_MEND_OK);
    EXPECT_EQ(same_mcus(coefficients(part(jpeg, 0, jpeg.size() / 2)), coefficients(output)),
              report.mcu_count);
    EXPECT_EQ(report.own_mcu_count, 0U);
}

TEST_F(Lenient, AHugeClaimOfFewBytesIsNotTried) {
    const Bytes jpeg = encode(scene_pixels(1, 8, 8, 3), arithmetic);
    for (std::size_t frame = 0; frame + 9 < jpeg.size(); ++frame) {
        if (jpeg[frame] == 0xFF && jpeg[frame + 1] == 0xC9) {
            Bytes huge = jpeg;
            put_bytes(huge, frame + 5, {0xFF, 0x00, 0xFF, 0x00});
            EXPECT_FALSE(still_mend::read_leniently(huge));
            return;
        }
    }
    FAIL() << "no frame of arithmetic coding";
}

/// A picture with changed bits in these bytes.
Bytes with_changes(Bytes file, const Anatomy::Part& bytes, std::uint32_t seed, std::size_t count) {
    std::mt19937 random(seed);
    for (std::size_t index = 0; index < count; ++index) {
        const std::size_t place = bytes.first + random() % (bytes.last - bytes.first);
        file[place] ^= static_cast<unsigned char>(1U << (random() % 8));
    }
    return file;
}

TEST(LenientProgressive, ALevelThatLeavesTheRangeIsNoNoise) {
    const Bytes jpeg = make_coded(coding_named("progressive 4:2:0"), 1, 640, 480);
    const auto first_scan = dissect(jpeg).scans.at(0).intervals.front();
    const std::size_t size = first_scan.last - first_scan.first;
    for (std::uint32_t seed = 1; seed <= 24; ++seed) {
        const Bytes damaged =
            with_changes(jpeg, {first_scan.first + size / 3, first_scan.first + size * 5 / 6}, seed, 2);
        const auto candidates =
            still_mend::find_candidates(damaged, still_mend::find_header_markers(damaged));
        const auto picture = still_mend::assess_leniently(damaged, candidates.at(0));
        ASSERT_TRUE(picture) << seed;
        EXPECT_FALSE(picture->noise) << seed;
        EXPECT_EQ(picture->own, 0U) << seed;
    }
}

} // namespace
} // namespace test
