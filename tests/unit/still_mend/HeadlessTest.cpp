#include "Laboratory.h"
#include "Salvaged.h"
#include "header/Orphans.h"

#include "support/Jpeg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>

// Pictures whose whole header is lost: the scan is decoded from where it survives, with the header of a
// sample or the standard tables.

namespace test {
namespace {

constexpr unsigned kWidth = 640;
constexpr unsigned kHeight = 480;

/// A picture of a coding with a part of its beginning replaced.
struct Headless {
    Bytes original;
    Bytes damaged;
    double surviving = 0; ///< Share of the scan's bytes.
};

Bytes with_head(const Bytes& picture, std::size_t size, const std::optional<Bytes>& head) {
    return head ? joined(*head, part(picture, size, picture.size())) : zeroed(picture, 0, size);
}

/// All up to a share of the scan is lost.
Headless without_head(const Coding& coding, double lost, bool is_noise) {
    Headless result;
    result.original = make_coded(coding, 1, kWidth, kHeight);
    const std::size_t scan = dissect(result.original).scan_header.last;
    const auto size =
        scan + static_cast<std::size_t>(lost * static_cast<double>(result.original.size() - scan));
    result.damaged =
        with_head(result.original, size, is_noise ? std::optional(noise(size, 3)) : std::nullopt);
    result.surviving = 1 - lost;
    return result;
}

Salvaged salvage_with(const Bytes& file, const Bytes& sample) {
    const TempDir folder;
    write_file(folder / "damaged", file);
    write_file(folder / "sample", sample);
    Salvaged result;
    result.code = MndJpegSampleRepair(utf8(folder / "damaged").c_str(), utf8(folder / "sample").c_str(),
                                      utf8(folder / "output").c_str(), &result.report);
    if (std::filesystem::exists(folder / "output")) {
        result.output = read_file(folder / "output");
    }
    return result;
}

double share_of(const std::vector<bool>& mcus) {
    return mcus.empty()
               ? 0
               : static_cast<double>(std::ranges::count(mcus, true)) / static_cast<double>(mcus.size());
}

/// MCUs have not all as many bytes, so that fewer than their share may be in the bytes that survive.
constexpr double kDense = 0.85;

TEST(HeadlessPicture, ComesBackWithTheHeaderOfASample) {
    for (const Coding& coding : codings()) {
        if (coding.progressive || coding.optimised) { // Optimised tables are those of one picture.
            continue;
        }
        const Bytes sample = make_coded(coding, 2, kWidth, kHeight);
        for (const double lost : {0.0, 0.1, 0.4}) {
            for (const bool is_noise : {false, true}) {
                const Headless trial = without_head(coding, lost, is_noise);
                const auto [code, output, report] = salvage_with(trial.damaged, sample);
                const std::string name = coding.name + ", " + std::to_string(lost);
                ASSERT_EQ(code, STILL_MEND_OK) << name;
                EXPECT_EQ(report.width, kWidth) << name;
                EXPECT_EQ(report.height, kHeight) << name;
                EXPECT_GE(share_of(mcus_in_shape(trial.original, output)), trial.surviving * kDense) << name;
                EXPECT_EQ(report.own_mcu_count, 0U) << name;
                EXPECT_TRUE(report.warnings & STILL_MEND_FROM_SAMPLE) << name;
            }
        }
    }
}

TEST(HeadlessPicture, ComesBackWithItsOwnOptimisedTablesFromASample) {
    const Coding& coding = coding_named("baseline 4:2:2, optimised");
    const Headless trial = without_head(coding, 0.2, false);
    const auto [code, output, report] = salvage_with(trial.damaged, trial.original);
    ASSERT_EQ(code, STILL_MEND_OK);
    EXPECT_GE(share_of(mcus_in_shape(trial.original, output)), trial.surviving * kDense);
    EXPECT_NE(salvage(trial.damaged).code, STILL_MEND_OK);
}

TEST(HeadlessPicture, ComesBackWithTheStandardTables) {
    for (const char* name : {"baseline 4:2:0", "baseline 4:4:4", "baseline grey"}) {
        const Headless trial = without_head(coding_named(name), 0.2, true);
        const auto [code, output, report] = salvage(trial.damaged);
        ASSERT_EQ(code, STILL_MEND_OK) << name;
        EXPECT_EQ(report.width, kWidth) << name;
        EXPECT_EQ(report.height, kHeight) << name;
        // The laboratory's quality is the one that is guessed.
        EXPECT_GE(share_of(mcus_in_shape(trial.original, output)), trial.surviving * kDense) << name;
        EXPECT_EQ(report.own_mcu_count, 0U) << name;
        EXPECT_TRUE(report.warnings & STILL_MEND_TABLES_STANDARD) << name;
        EXPECT_FALSE(report.warnings & STILL_MEND_FROM_SAMPLE) << name;
    }
}

TEST(HeadlessPicture, IsFoundAfterFillBytesBeforeItsEnd) {
    Headless trial = without_head(coding_named("baseline 4:2:0"), 0.1, false);
    const Bytes fill{0xFF, 0xFF, 0xFF, 0xD9};
    trial.damaged = joined(part(trial.damaged, 0, trial.damaged.size() - 2), fill);
    const auto [code, output, report] = salvage(trial.damaged);
    ASSERT_EQ(code, STILL_MEND_OK);
    EXPECT_GE(share_of(mcus_in_shape(trial.original, output)), trial.surviving * kDense);
}

TEST(HeadlessPicture, IsNotFoundInNoiseOrWithoutAnEnd) {
    const Headless trial = without_head(coding_named("baseline 4:2:0"), 0.2, true);
    const Bytes sample = make_coded(coding_named("baseline 4:2:0"), 2, kWidth, kHeight);
    const Bytes cut = part(trial.damaged, 0, trial.damaged.size() - 100);
    EXPECT_EQ(salvage_with(cut, sample).code, STILL_MEND_NOTHING_FOUND);
    EXPECT_EQ(salvage_with(noise(300'000, 7), sample).code, STILL_MEND_NOTHING_FOUND);
    EXPECT_EQ(salvage(noise(300'000, 7)).code, STILL_MEND_NOTHING_FOUND);
}

TEST(HeadlessPicture, IsNotTakenFromTheSample) {
    const Bytes sample = make_coded(coding_named("baseline 4:2:0"), 2, kWidth, kHeight);
    const auto result = salvage_with(noise(1000, 1), sample);
    EXPECT_EQ(result.code, STILL_MEND_NOTHING_FOUND);
    EXPECT_TRUE(result.output.empty());
}

TEST(SampleRepair, LeavesAnIntactPictureAsItIs) {
    const Coding& coding = coding_named("baseline 4:2:0");
    const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
    const auto [code, output, report] = salvage_with(picture, make_coded(coding, 2, kWidth, kHeight));
    EXPECT_EQ(code, STILL_MEND_OK);
    EXPECT_EQ(output, picture);
    EXPECT_EQ(report.warnings, 0U);
}

TEST(SampleRepair, LendsTablesButClaimsNothingIfTheQuantisationIsTheSamples) {
    const Coding& coding = coding_named("baseline 4:2:0");
    const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
    const Bytes sample = make_coded(coding, 2, kWidth, kHeight);
    const Anatomy anatomy = dissect(picture);
    Bytes no_quantisation = picture;
    for (const auto& table : anatomy.quant_tables) {
        no_quantisation = zeroed(no_quantisation, table.first, table.last);
    }
    const auto guessed = salvage_with(no_quantisation, sample);
    ASSERT_EQ(guessed.code, STILL_MEND_OK);
    EXPECT_DOUBLE_EQ(share_of(mcus_in_place(picture, guessed.output)), 1.0);
    EXPECT_EQ(guessed.report.own_mcu_count, 0U);
    EXPECT_EQ(guessed.report.guessed_mcu_count, guessed.report.mcu_count);
    EXPECT_TRUE(guessed.report.warnings & STILL_MEND_FROM_SAMPLE);
}

TEST(SampleRepair, RefusesASampleWithoutAHeader) {
    const Bytes picture = make_coded(coding_named("baseline 4:2:0"), 1, kWidth, kHeight);
    EXPECT_EQ(salvage_with(picture, noise(1000, 1)).code, STILL_MEND_SAMPLE_UNUSABLE);
    EXPECT_EQ(salvage_with(picture, {}).code, STILL_MEND_SAMPLE_UNUSABLE);
    const TempDir folder;
    write_file(folder / "damaged", picture);
    StillMendReport report{};
    const std::string damaged = utf8(folder / "damaged");
    const std::string output = utf8(folder / "output");
    EXPECT_EQ(MndJpegSampleRepair(damaged.c_str(), nullptr, output.c_str(), &report),
              STILL_MEND_SAMPLE_UNUSABLE);
    EXPECT_EQ(MndJpegSampleRepair(damaged.c_str(), output.c_str(), output.c_str(), nullptr),
              STILL_MEND_SAMPLE_UNUSABLE);
    EXPECT_EQ(MndJpegSampleRepair(nullptr, damaged.c_str(), output.c_str(), nullptr),
              STILL_MEND_INPUT_UNREADABLE);
    EXPECT_EQ(MndJpegSampleRepair(damaged.c_str(), damaged.c_str(), nullptr, nullptr),
              STILL_MEND_OUTPUT_UNWRITABLE);
    EXPECT_FALSE(std::filesystem::exists(folder / "output"));
}

} // namespace
} // namespace test
