#include "Laboratory.h"
#include "Salvaged.h"

#include <gtest/gtest.h>

// Pieces of other JPEGs within a picture, with their headers and markers.

namespace test {
namespace {

constexpr unsigned kWidth = 640;
constexpr unsigned kHeight = 480;

/// A picture with foreign bytes inserted after a share of its scan.
Bytes with_inserted(const Bytes& picture, double share, const Bytes& foreign) {
    const std::size_t scan = dissect(picture).scan_header.last;
    const auto place = scan + static_cast<std::size_t>(share * static_cast<double>(picture.size() - scan));
    return joined(joined(part(picture, 0, place), foreign), part(picture, place, picture.size()));
}

/// What is delivered of it has at least as many MCUs in place as libjpeg's decode, less one in a hundred.
void expect_as_good_as_libjpeg(const Bytes& picture, const Bytes& damaged, const std::string& name) {
    const Trial trial = run_trial(picture, {damaged, 0, damaged.size()});
    EXPECT_EQ(trial.result, 0) << name;
    EXPECT_GT(trial.plain, trial.mcus / 10) << name;
    EXPECT_GE(trial.recovered + trial.mcus / 100, trial.plain) << name;
}

TEST(ForeignPicture, WithItsHeaderDoesNotReplaceTheOneThatTheFileBeginsWith) {
    const Bytes picture = make_coded(coding_named("baseline 4:2:0"), 1, kWidth, kHeight);
    for (const char* coding : {"baseline 4:2:0", "baseline 4:2:2, restarts", "progressive 4:2:0"}) {
        const Bytes other = make_coded(coding_named(coding), 2, 800, 600);
        for (const double share : {0.2, 0.35, 0.6}) {
            // The end of the other, and its beginning.
            const Bytes foreign =
                joined(part(other, other.size() * 3 / 4, other.size()), part(other, 0, other.size() * 3 / 4));
            expect_as_good_as_libjpeg(picture, with_inserted(picture, share, foreign),
                                      std::string(coding) + ", " + std::to_string(share));
        }
    }
}

TEST(ForeignPicture, LeavesWhatIsCertainInPlaceOfALargerGuess) {
    const Bytes picture = make_coded(coding_named("baseline 4:2:0"), 1, kWidth, kHeight);
    const Bytes other = make_coded(coding_named("baseline 4:2:0"), 2, kWidth, kHeight);
    const Bytes head = part(other, 0, dissect(other).scan_header.last + 100);
    for (const double share : {0.2, 0.25, 0.3}) {
        const Bytes damaged = with_inserted(picture, share, joined(noise(9000, 1), head));
        const Trial trial = run_trial(picture, {damaged, 0, damaged.size()});
        EXPECT_GE(static_cast<double>(trial.recovered), 0.8 * share * static_cast<double>(trial.mcus))
            << share;
    }
}

TEST(ForeignPicture, WithRestartsDoesNotGiveItsIntervalToAPictureWithoutThem) {
    const Bytes picture = make_coded(coding_named("baseline 4:2:0"), 1, kWidth, kHeight);
    Coding coding = coding_named("baseline 4:2:0");
    coding.restart = 4;
    const Bytes other = make_coded(coding, 2, kWidth, kHeight);
    const std::size_t scan = dissect(other).scan_header.last;
    for (const double share : {0.35, 0.6}) {
        const Bytes damaged =
            with_inserted(picture, share, part(other, scan + other.size() / 4, other.size()));
        expect_as_good_as_libjpeg(picture, damaged, std::to_string(share));
        const Trial trial = run_trial(picture, {damaged, 0, damaged.size()});
        EXPECT_LE(trial.claimed, trial.recovered + trial.mcus / 50) << share;
    }
}

} // namespace
} // namespace test
