#include "Laboratory.h"
#include "header/HeaderMarkers.h"
#include "header/PictureCandidates.h"
#include "jpeg/McuDecoder.h"
#include "sequential/SeamSearch.h"

#include <gtest/gtest.h>

// Where the level jumps, or the rows do not fit any more, although every bit decodes.

namespace test {
namespace {

constexpr unsigned kWidth = 640;
constexpr unsigned kHeight = 480;
constexpr std::size_t kWide = kWidth / 16; // MCUs in a row.

/// The MCUs of a picture in the order of its scan, with a change to each.
template <typename Change>
still_mend::McuTraces traces_with(Change change) {
    const Bytes jpeg = make_coded(coding_named("baseline 4:2:0"), 1, kWidth, kHeight);
    const auto candidates = still_mend::find_candidates(jpeg, still_mend::find_header_markers(jpeg));
    const auto& candidate = candidates.at(0);
    const still_mend::McuDecoder decoder(*candidate.frame, *candidate.scan, candidate.tables);
    still_mend::McuTraces traces(*candidate.frame, *candidate.scan, candidate.tables);
    still_mend::BitReader reader(jpeg, candidate.entropy);
    still_mend::DcState dc;
    still_mend::Mcu mcu;
    for (std::size_t index = 0; decoder.decode(reader, dc, mcu); ++index) {
        decoder.shift_dc(mcu, change(index));
        traces.append(mcu);
    }
    return traces;
}

still_mend::Stretch all_of(const still_mend::McuTraces& traces) {
    return {0, traces.size(), 0, kWide};
}

TEST(Seams, AnUndamagedPictureHasNone) {
    const auto traces = traces_with([](std::size_t) { return still_mend::Levels{}; });
    EXPECT_TRUE(still_mend::find_level_jumps(traces, all_of(traces)).empty());
    EXPECT_FALSE(still_mend::find_seam(traces, all_of(traces), false));
}

TEST(Seams, AJumpOfAnyComponentIsFoundWhereItIsAndUndone) {
    for (const std::size_t component : {0U, 1U, 2U}) {
        for (const std::size_t place : {17 * kWide + 29, 23 * kWide + 20}) {
            still_mend::Levels added{};
            added[component] = -40;
            const auto traces =
                traces_with([&](std::size_t index) { return index >= place ? added : still_mend::Levels{}; });
            const auto jumps = still_mend::find_level_jumps(traces, all_of(traces));
            ASSERT_EQ(jumps.size(), 1U) << component << ", " << place;
            EXPECT_NEAR(static_cast<double>(jumps[0].trace), static_cast<double>(place), 1);
            EXPECT_NEAR(jumps[0].change[component], 40, 2); // Less than a level.
        }
    }
}

TEST(Seams, AnEdgeThatBeginsWithARowIsNone) {
    const auto traces = traces_with([](std::size_t index) {
        return index >= 15 * kWide ? still_mend::Levels{-40, 0, 0, 0} : still_mend::Levels{};
    });
    EXPECT_TRUE(still_mend::find_level_jumps(traces, all_of(traces)).empty());
    EXPECT_FALSE(still_mend::find_seam(traces, all_of(traces), false));
}

/// A picture with one bit changed that decodes to its end without a warning, but not to the same levels.
TEST(Seams, AChangedBitThatLibjpegDoesNotNoticeIsMendedAndNotClaimed) {
    const Bytes jpeg = make_coded(coding_named("baseline 4:2:0"), 1, kWidth, kHeight);
    const std::size_t total = mcus_in_place(jpeg, jpeg).size();
    const std::size_t data = dissect(jpeg).scan_header.last;
    std::size_t mended = 0;
    for (std::size_t step = 0; step < 400 && mended < 3; ++step) {
        Bytes damaged = jpeg;
        damaged[data + (jpeg.size() - data) / 3 + 7 * step] ^= static_cast<unsigned char>(1U << (step % 8));
        const Trial trial = run_trial(jpeg, {damaged, 0, damaged.size()});
        EXPECT_LE(trial.claimed, trial.recovered + total / 100) << step;
        EXPECT_GE(trial.recovered + total / 100, trial.plain) << step;
        mended += trial.plain * 2 < total && trial.recovered * 20 > total * 19 ? 1U : 0U;
    }
    EXPECT_EQ(mended, 3U);
}

} // namespace
} // namespace test
