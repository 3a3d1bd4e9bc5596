#include "Laboratory.h"
#include "header/PictureCandidates.h"
#include "sequential/RestartPlacement.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace still_mend {
namespace {

using Raw = std::vector<unsigned char>;

/// The places of the runs of a file with restarts.
struct Placed {
    explicit Placed(const Raw& file)
        : candidate(find_candidates(file, find_header_markers(file)).at(0)), frame(candidate.frame.value()),
          survey(survey_restarts(data_of(file), McuDecoder(frame, candidate.scan.value(), candidate.tables),
                                 McuTraces(frame, candidate.scan.value(), candidate.tables))),
          canvas(survey.traces, frame.mcus_wide(), frame.mcus()),
          placements(place_restarts(data_of(file), survey, canvas)) {}

    [[nodiscard]] ScanData data_of(const Raw& file) const {
        return {file, candidate.entropy, candidate.limit, candidate.tables.restart_interval, frame.mcus()};
    }

    PictureCandidate candidate;
    Frame frame;
    Survey survey;
    Canvas canvas;
    std::vector<Placement> placements;
};

/// The first half of the sixth interval, and then all from a given interval on.
Raw with_half_an_interval_before(std::size_t next) {
    const Raw picture = test::make_coded(test::coding_named("baseline 4:2:0, restarts"), 1, 320, 240);
    const auto intervals = test::dissect(picture).intervals;
    const std::size_t half = (intervals.at(5).first + intervals.at(5).last) / 2;
    return test::joined(test::part(picture, 0, half),
                        test::part(picture, intervals.at(next).first, picture.size()));
}

TEST(Placement, TheCanvasHoldsWhatThePictureShows) {
    const Placed placed(with_half_an_interval_before(5));
    std::vector<std::uint32_t> shown(placed.frame.mcus(), Canvas::kNone);
    std::size_t put = 0;
    for (const auto& placement : placed.placements) {
        put += placement.count;
        for (std::size_t index = 0; index < placement.count; ++index) {
            shown.at(placement.position + index) =
                static_cast<std::uint32_t>(placed.survey.runs[placement.run].trace + placement.skip + index);
        }
    }
    EXPECT_GT(put, placed.frame.mcus()); // Some places were filled twice.
    for (std::size_t position = 0; position < placed.frame.mcus(); ++position) {
        EXPECT_EQ(placed.canvas.trace(position), shown[position]) << position;
    }
}

TEST(Placement, NoRunIsPlacedTwice) {
    // Two sequences of runs after the broken interval, for which the picture has no room.
    const Raw once = with_half_an_interval_before(1);
    const Raw twice = test::joined(once, test::part(once, once.size() / 2, once.size()));
    const Placed placed(twice);
    std::set<std::size_t> runs;
    for (const auto& placement : placed.placements) {
        EXPECT_TRUE(runs.insert(placement.run).second) << placement.run;
    }
    EXPECT_EQ(runs.size(), 6U);
}

} // namespace
} // namespace still_mend
