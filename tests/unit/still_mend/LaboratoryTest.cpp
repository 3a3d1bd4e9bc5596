#include "Laboratory.h"
#include "Salvaged.h"

#include "support/TempDir.h"

#include <still_mend/still_mend.h>

#include <gtest/gtest.h>

#include <string>

namespace test {
namespace {

constexpr unsigned kWidth = 640;
constexpr unsigned kHeight = 480;
constexpr unsigned kLargeWidth = 2560;
constexpr unsigned kLargeHeight = 1920;

Trial trial(const Coding& coding, const std::string& damage, bool with_sibling = false,
            const std::string& container = "TIFF, low byte first") {
    return run_trial(coding, container_named(container), damage_named(damage), with_sibling, kWidth, kHeight);
}

bool has_restarts(const Coding& coding) {
    return coding.restart != 0;
}

/// Cuts the intervals [first, first + count) out of a scan.
Bytes without_intervals(const Bytes& picture, std::size_t scan, std::size_t first, std::size_t count) {
    const Anatomy anatomy = dissect(picture);
    const auto& intervals = anatomy.scans.at(scan).intervals;
    return joined(part(picture, 0, intervals.at(first).first),
                  part(picture, intervals.at(first + count - 1).last, picture.size()));
}

/// Progressive pictures with restarts whose MCUs are as large and as small as they come, and short intervals.
const std::vector<Coding>& progressive_codings() {
    static const std::vector<Coding> all{
        {"progressive 4:4:4", 1, 1, false, true, true, 16},
        {"progressive 4:2:0", 2, 2, false, true, true, 10},
        {"progressive 4:2:2, short", 2, 1, false, true, true, 3},
        {"progressive grey", 1, 1, true, true, true, 20},
    };
    return all;
}

TEST(Laboratory, AnUndamagedPictureIsDeliveredByteForByte) {
    for (const auto& coding : codings()) {
        for (const auto& container : containers()) {
            const Specimen specimen = container.build(make_coded(coding, 1, 320, 240), {});
            const Bytes picture = part(specimen.file, specimen.offset, specimen.offset + specimen.size);
            const Trial undamaged = run_trial(picture, specimen);
            EXPECT_EQ(undamaged.result, STILL_MEND_OK) << coding.name << ", " << container.name;
            EXPECT_EQ(undamaged.output, picture) << coding.name << ", " << container.name;
            EXPECT_EQ(undamaged.warnings, 0U) << coding.name << ", " << container.name;
        }
    }
}

TEST(Laboratory, ALostEoiCostsNothing) {
    for (const auto& coding : codings()) {
        for (const auto& container : {"alone", "TIFF, high byte first"}) {
            const Trial lost = trial(coding, "EOI lost", false, container);
            EXPECT_EQ(lost.result, STILL_MEND_OK) << coding.name;
            EXPECT_DOUBLE_EQ(lost.share(), 1.0) << coding.name << ", " << container;
            EXPECT_TRUE(lost.clean) << coding.name;
        }
    }
}

TEST(Laboratory, LostStandardTablesCostNothing) {
    for (const auto& coding : codings()) {
        if (!coding.optimised) {
            const Trial lost = trial(coding, "DHT lost");
            EXPECT_EQ(lost.result, STILL_MEND_OK) << coding.name;
            EXPECT_DOUBLE_EQ(lost.share(), 1.0) << coding.name;
            EXPECT_TRUE(lost.warnings & STILL_MEND_TABLES_STANDARD) << coding.name;
        }
    }
}

TEST(Laboratory, LostOptimisedTablesAreReportedLostAndNotDeliveredAsNoise) {
    for (const auto& coding : codings()) {
        if (coding.optimised) {
            const Trial lost = trial(coding, "DHT lost");
            EXPECT_EQ(lost.result, STILL_MEND_NOTHING_FOUND) << coding.name;
            EXPECT_TRUE(lost.output.empty()) << coding.name;
        }
    }
}

TEST(Laboratory, NoPictureIsFoundUnderTablesOfAnotherScene) {
    // Optimised tables of another exposure are close to the right ones, which makes noise look likely.
    for (const char* name : {"baseline 4:2:2, optimised", "baseline 4:4:4, optimised, restarts",
                             "baseline grey, optimised, restarts"}) {
        const auto& coding = coding_named(name);
        for (unsigned scene = 2; scene < 6; ++scene) {
            const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
            const Bytes other = make_coded(coding, scene, kWidth, kHeight, 60);
            const Anatomy anatomy = dissect(picture);
            const Anatomy others = dissect(other);
            // The header of one, the scan of the other.
            const Bytes mixed = joined(part(other, 0, others.scan_header.last),
                                       part(picture, anatomy.scan_header.last, picture.size()));
            const Trial wrong = run_trial(picture, {mixed, 0, mixed.size()});
            EXPECT_NE(wrong.result, STILL_MEND_OK) << name << ", scene " << scene;
        }
    }
}

TEST(Laboratory, LostQuantisationTablesAreBorrowedFromASibling) {
    for (const auto& coding : codings()) {
        const Trial lost = trial(coding, "DQT lost", true);
        EXPECT_EQ(lost.result, STILL_MEND_OK) << coding.name;
        EXPECT_DOUBLE_EQ(lost.share(), 1.0) << coding.name;
        EXPECT_TRUE(lost.warnings & STILL_MEND_TABLES_BORROWED) << coding.name;
    }
}

TEST(Laboratory, LostQuantisationTablesAreGuessedWithoutASiblingAndNothingIsClaimed) {
    for (const auto& coding : codings()) {
        const Trial lost = trial(coding, "DQT lost", false);
        EXPECT_EQ(lost.result, STILL_MEND_OK) << coding.name;
        EXPECT_TRUE(lost.warnings & STILL_MEND_TABLES_STANDARD) << coding.name;
        EXPECT_EQ(lost.claimed, 0U) << coding.name;
        EXPECT_DOUBLE_EQ(lost.share(), 1.0) << coding.name; // Coefficient by coefficient.
    }
}

TEST(Laboratory, ALostRestartIntervalDefinitionIsInferredFromTheMarkers) {
    for (const auto& coding : codings()) {
        if (coding.restart != 0) {
            const Trial lost = trial(coding, "DRI lost");
            EXPECT_EQ(lost.result, STILL_MEND_OK) << coding.name;
            EXPECT_DOUBLE_EQ(lost.share(), 1.0) << coding.name;
        }
    }
}

TEST(Laboratory, ALostSoiCostsNothing) {
    for (const auto& coding : codings()) {
        EXPECT_DOUBLE_EQ(trial(coding, "SOI lost").share(), 1.0) << coding.name;
    }
}

TEST(Laboratory, ALostFrameIsRebuiltFromASmallerSiblingAndTheData) {
    for (const auto& coding : codings()) {
        if (!coding.progressive) {
            const Trial lost = trial(coding, "SOF lost", true);
            EXPECT_DOUBLE_EQ(lost.share(), 1.0) << coding.name;
            EXPECT_TRUE(lost.warnings & STILL_MEND_FRAME_BORROWED) << coding.name;
        }
    }
}

TEST(Laboratory, DataAfterTheLastRowOfADamagedFrameAreNotCounted) {
    for (const auto rows : {std::uint8_t{48}, std::uint8_t{8}}) {
        for (const auto& coding : codings()) {
            Bytes picture = make_coded(coding, 1, kWidth, 240);
            const std::size_t height = dissect(picture).frame.at(0).first + 5; // FF C0, length, precision.
            put_bytes(picture, height, {0, rows});
            const Trial shortened = run_trial(picture, {picture, 0, picture.size()});
            EXPECT_EQ(shortened.result, STILL_MEND_OK) << coding.name;
            EXPECT_EQ(shortened.recovered, shortened.mcus) << coding.name;
            // A progressive scan in one piece that does not end where it must is a guess.
            const bool guessed = coding.progressive && !has_restarts(coding);
            EXPECT_EQ(shortened.claimed, guessed ? 0 : shortened.mcus) << coding.name;
            EXPECT_TRUE(shortened.clean) << coding.name;
        }
    }
}

TEST(Laboratory, ARunOfLostRestartIntervalsShiftsNothingAfterIt) {
    for (const auto& coding : codings()) {
        if (!has_restarts(coding)) {
            continue;
        }
        const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
        const std::size_t first = dissect(picture).intervals.size() / 3;
        for (const std::size_t count : {1U, 8U, 16U, 20U}) {
            for (const std::string how : {"zeroed", "removed"}) {
                const std::string name = std::to_string(count) + " restart intervals " + how;
                const Trial lost = trial(coding, name);
                EXPECT_EQ(lost.result, STILL_MEND_OK) << coding.name << ", " << name;
                // Zeroing begins with a marker, so that the interval before it does not end where it must.
                EXPECT_GE(share_outside(picture, lost.output, coding.restart, first, first + count), 0.95)
                    << coding.name << ", " << name;
                EXPECT_GE(lost.share(), lost.plain_share()) << coding.name << ", " << name;
            }
        }
    }
}

TEST(Laboratory, RunsAroundEightIntervalsAreDistinguished) {
    for (const char* name : {"baseline 4:2:2, restarts", "progressive 4:4:4, restarts"}) {
        const auto& coding = coding_named(name);
        const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
        for (const std::size_t count : {7U, 8U, 9U, 15U, 16U, 17U}) {
            const std::size_t first = 100;
            const Bytes cut = without_intervals(picture, 0, first, count);
            const Trial lost = run_trial(picture, {cut, 0, cut.size()});
            EXPECT_GE(share_outside(picture, lost.output, coding.restart, first, first + count), 0.95)
                << name << ", " << count;
        }
    }
}

TEST(Laboratory, IntervalsCutOutOfAnyScanWithoutATraceShiftNothingAfterThem) {
    for (const auto& coding : progressive_codings()) {
        const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
        const Anatomy anatomy = dissect(picture);
        for (std::size_t scan = 0; scan < anatomy.scans.size(); ++scan) {
            for (const std::size_t count : {8U, 16U}) {
                const std::size_t first = anatomy.scans[scan].intervals.size() / 3;
                const Bytes cut = without_intervals(picture, scan, first, count);
                const Trial lost = run_trial(picture, {cut, 0, cut.size()});
                std::vector<bool> marked(lost.mcus);
                mark_mcus(picture, scan, coding.restart, first, first + count, marked);
                const std::string where = coding.name + ", scan " + std::to_string(scan) + ", " +
                                          std::to_string(count) + " intervals";
                EXPECT_GE(share_unmarked(picture, lost.output, marked), 0.95) << where;
                EXPECT_GE(lost.recovered, lost.plain) << where;
                EXPECT_FALSE(lost.false_success()) << where;
            }
        }
    }
}

TEST(Laboratory, TwoCutsIntoOneScanAreDistinguished) {
    for (const auto& coding : progressive_codings()) {
        const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
        const Anatomy anatomy = dissect(picture);
        for (const std::size_t scan : {std::size_t{0}, std::size_t{1}, anatomy.scans.size() - 1}) {
            const std::size_t first = anatomy.scans[scan].intervals.size() / 5;
            const std::size_t second = anatomy.scans[scan].intervals.size() / 2;
            // The later one first, so that the other stays where it was.
            const Bytes cut = without_intervals(without_intervals(picture, scan, second, 8), scan, first, 8);
            const Trial lost = run_trial(picture, {cut, 0, cut.size()});
            std::vector<bool> marked(lost.mcus);
            mark_mcus(picture, scan, coding.restart, first, first + 8, marked);
            mark_mcus(picture, scan, coding.restart, second, second + 8, marked);
            EXPECT_GE(share_unmarked(picture, lost.output, marked), 0.95) << coding.name << ", scan " << scan;
        }
    }
}

TEST(Laboratory, CutsIntoTwoScansAreBothFound) {
    const auto& coding = coding_named("progressive 4:4:4, restarts");
    const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
    const Bytes cut = without_intervals(without_intervals(picture, 1, 200, 8), 0, 50, 16);
    const Trial lost = run_trial(picture, {cut, 0, cut.size()});
    std::vector<bool> marked(lost.mcus);
    mark_mcus(picture, 0, coding.restart, 50, 66, marked);
    mark_mcus(picture, 1, coding.restart, 200, 208, marked);
    EXPECT_GE(share_unmarked(picture, lost.output, marked), 0.95);
}

TEST(Laboratory, IntervalsWithoutASignOfTheirPlaceAreNotClaimed) {
    // Only the first scan of a progressive picture: brightness.
    const auto& coding = coding_named("progressive 4:4:4, restarts");
    const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
    const Anatomy anatomy = dissect(picture);
    const Bytes first_scan = joined(part(picture, 0, anatomy.scans[0].intervals.back().last), {0xFF, 0xD9});
    const Bytes cut = without_intervals(first_scan, 0, 100, 8);
    const Salvaged salvaged = salvage(cut);
    EXPECT_EQ(salvaged.code, STILL_MEND_OK);
    EXPECT_EQ(salvaged.report.own_mcu_count, 0U);
    EXPECT_EQ(salvaged.report.guessed_mcu_count, (anatomy.intervals.size() - 8) * coding.restart);
}

TEST(Laboratory, StrayMarkersInADamagedSpanAreHarmless) {
    for (const auto& coding : codings()) {
        if (!has_restarts(coding) || coding.progressive) {
            continue;
        }
        const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
        const Anatomy anatomy = dissect(picture);
        const Trial strays = trial(coding, "stray markers");
        const std::size_t from =
            anatomy.scan_header.last +
            static_cast<std::size_t>(static_cast<double>(picture.size() - anatomy.scan_header.last) * 0.4);
        std::size_t first = 0;
        while (anatomy.intervals[first].last <= from) {
            ++first;
        }
        std::size_t last = first;
        while (anatomy.intervals[last].first < from + 1024) {
            ++last;
        }
        EXPECT_EQ(strays.result, STILL_MEND_OK) << coding.name;
        EXPECT_GE(share_outside(picture, strays.output, coding.restart, first, last), 0.95) << coding.name;
    }
}

TEST(Laboratory, ADuplicatedIntervalIsCountedOnce) {
    for (const auto& coding : codings()) {
        if (!has_restarts(coding) || coding.progressive) {
            continue;
        }
        const Bytes picture = make_coded(coding, 1, kWidth, 240);
        const auto interval = dissect(picture).intervals.at(5);
        const std::size_t half = (interval.first + interval.last) / 2;
        const Bytes doubled = joined(part(picture, 0, half), part(picture, interval.first, picture.size()));
        const Trial mended = run_trial(picture, {doubled, 0, doubled.size()});
        EXPECT_EQ(mended.recovered, mended.mcus) << coding.name;
        EXPECT_EQ(mended.claimed, mended.mcus) << coding.name;
    }
}

TEST(Laboratory, DataAfterALostHeadAreReadWithASiblingsTables) {
    for (const char* name : {"baseline 4:2:0, restarts", "baseline 4:2:2, restarts"}) {
        const auto& coding = coding_named(name);
        for (const std::size_t kib : {1U, 4U, 12U, 64U, 150U}) {
            const auto& damage = damage_named("head zeroed, " + std::to_string(kib) + " KiB");
            const unsigned width = damage.large ? kLargeWidth : kWidth;
            const unsigned height = damage.large ? kLargeHeight : kHeight;
            const Bytes picture = make_coded(coding, 1, width, height);
            const Anatomy anatomy = dissect(picture);
            const Trial headless = run_trial(coding, container_named("alone"), damage, true, width, height);
            std::size_t lost = 0;
            while (anatomy.intervals[lost].first < kib * 1024) {
                ++lost;
            }
            EXPECT_EQ(headless.result, STILL_MEND_OK) << name << ", " << kib;
            EXPECT_GE(share_outside(picture, headless.output, coding.restart, 0, lost), 0.90)
                << name << ", " << kib;
        }
    }
}

TEST(Laboratory, OneSmallDamageWithoutRestartsLosesLittle) {
    for (const char* name : {"baseline 4:2:0", "baseline 4:4:4", "baseline 4:2:2, optimised"}) {
        for (const char* damage : {"1 bytes dropped", "100 bytes dropped", "100 bytes inserted",
                                   "random block, 512", "zero block, 512"}) {
            const Trial small = trial(coding_named(name), damage);
            // What libjpeg decodes without a warning is kept, be it damaged nevertheless.
            EXPECT_TRUE(small.kept || small.share() >= 0.95)
                << name << ", " << damage << ": " << small.share();
            EXPECT_TRUE(small.kept || !small.false_success()) << name << ", " << damage;
        }
    }
}

TEST(Laboratory, ACutPictureKeepsWhatAPlainDecodeKeeps) {
    for (const auto& coding : codings()) {
        for (const unsigned percent : {10U, 30U, 50U, 90U}) {
            const Trial cut = trial(coding, "cut at " + std::to_string(percent) + " %", false, "alone");
            EXPECT_EQ(cut.result, STILL_MEND_OK) << coding.name << ", " << percent;
            // A scan of a progressive picture ends with its last whole block, here and there.
            const std::size_t slack = coding.progressive ? 1 : 0;
            EXPECT_GE(cut.recovered + slack, cut.plain) << coding.name << ", " << percent;
            EXPECT_TRUE(cut.clean) << coding.name << ", " << percent;
        }
    }
}

TEST(Laboratory, EveryDeliveredPictureDecodesCleanly) {
    for (const char* name : {"baseline 4:2:0", "baseline grey, optimised, restarts", "progressive 4:2:0"}) {
        for (const auto& damage : damages()) {
            const Trial any =
                run_trial(coding_named(name), container_named("alone"), damage, false, 320, 240);
            EXPECT_EQ(any.result == STILL_MEND_OK, !any.output.empty()) << name << ", " << damage.name;
            EXPECT_EQ(any.result == STILL_MEND_OK, any.clean) << name << ", " << damage.name;
        }
    }
}

void expect_honest(const Coding& coding, const Container& container, const Damage& damage, unsigned width,
                   unsigned height) {
    const Trial any = run_trial(coding, container, damage, false, width, height);
    const std::string where = coding.name + ", " + container.name + ", " + damage.name;
    EXPECT_TRUE(any.other || any.recovered >= any.plain)
        << where << ": " << any.recovered << " in place, and " << any.plain << " of a plain decode";
    EXPECT_TRUE(any.kept || !any.false_success())
        << where << ": " << any.claimed << " claimed, and " << any.in_shape << " in place";
}

TEST(Laboratory, NothingIsLessThanAPlainDecodeAndNothingIsClaimedThatIsNotInPlace) {
    for (const auto& coding : codings()) {
        for (const auto& damage : damages()) {
            expect_honest(coding, container_named("alone"), damage, kWidth, kHeight);
        }
    }
}

TEST(Laboratory, NeitherIsItInAnyContainer) {
    for (const auto& container : containers()) {
        for (const char* coding : {"baseline 4:2:0", "baseline 4:2:2, restarts", "progressive grey"}) {
            for (const char* damage :
                 {"EOI lost", "DHT lost", "head zeroed, 4 KiB", "cut at 50 %", "random block, 512",
                  "100 bytes dropped", "8 restart intervals removed", "stray markers"}) {
                expect_honest(coding_named(coding), container, damage_named(damage), 320, 240);
            }
        }
    }
}

TEST(Laboratory, WhatIsMendedAloneIsMendedInAnyContainer) {
    for (const auto& container : containers()) {
        const auto& coding = coding_named("baseline 4:2:2, restarts");
        for (const char* damage : {"EOI lost", "DHT lost", "DRI lost", "SOI lost"}) {
            const Trial mended = run_trial(coding, container, damage_named(damage), false, 320, 240);
            EXPECT_EQ(mended.result, STILL_MEND_OK) << container.name << ", " << damage;
            EXPECT_DOUBLE_EQ(mended.share(), 1.0) << container.name << ", " << damage;
        }
    }
}

} // namespace
} // namespace test
