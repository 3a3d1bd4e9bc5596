#include "header/FrameInference.h"

#include "fit/Statistics.h"
#include "sequential/Survey.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace still_mend {

namespace {

constexpr std::size_t kLeastWide = 4; // MCUs.
constexpr std::size_t kMostWide = 2048;
constexpr std::size_t kLeastRows = 6;    // Of the narrowest picture.
constexpr std::size_t kCompared = 3000;  // MCUs for each width.
constexpr double kClearlySmoother = 0.7; // Of the median step of all widths.

/// Runs that follow one another without a gap.
struct JoinedRuns {
    std::size_t first = 0; // Trace.
    std::size_t count = 0;
};

class FrameInference {
  public:
    FrameInference(Bytes file, const Hypothesis& hypothesis)
        : borrowed_(*hypothesis.candidate.frame), candidate_(hypothesis.candidate),
          decoder_(borrowed_, *candidate_.scan, candidate_.tables), data_{file,
                                                                          candidate_.entropy,
                                                                          candidate_.limit,
                                                                          candidate_.tables.restart_interval,
                                                                          static_cast<std::size_t>(
                                                                              kMaxPixels / 4 /
                                                                              borrowed_.mcu_area()),
                                                                          hypothesis.from_start},
          survey_{McuTraces(borrowed_, *candidate_.scan, candidate_.tables), {}, 0} {}

    std::optional<Frame> infer() {
        if (data_.interval == 0) {
            data_.interval = infer_interval(data_, decoder_);
        }
        if (data_.interval != 0) {
            data_.total -= data_.total % data_.interval;
            survey_ = survey_restarts(data_, decoder_, survey_.traces);
        } else {
            survey_ = survey_plain(data_, decoder_, survey_.traces);
        }
        const JoinedRuns longest_runs = find_longest();
        const auto wide = width(longest_runs);
        return wide ? with_size(*wide) : std::nullopt;
    }

  private:
    [[nodiscard]] JoinedRuns find_longest() const {
        JoinedRuns best;
        JoinedRuns current;
        for (const auto& run : survey_.runs) {
            const bool follows = data_.interval != 0 && run.closes && run.adjacent &&
                                 current.first + current.count == run.trace;
            current = follows ? JoinedRuns{current.first, current.count + run.count}
                              : JoinedRuns{run.trace, run.count};
            if (current.count > best.count) {
                best = current;
            }
        }
        return best;
    }

    /// The mean step down if a row has this many MCUs.
    [[nodiscard]] double step_at(const JoinedRuns& longest_runs, std::size_t wide) const {
        const std::size_t last = std::min(longest_runs.count, wide + kCompared);
        double sum = 0;
        for (std::size_t mcu = wide; mcu < last; ++mcu) {
            sum += survey_.traces.step_down(longest_runs.first + mcu - wide, longest_runs.first + mcu);
        }
        return sum / static_cast<double>(last - wide);
    }

    [[nodiscard]] std::optional<std::size_t> width(const JoinedRuns& longest_runs) const {
        if (longest_runs.count < kLeastRows * kLeastWide) {
            return std::nullopt;
        }
        std::vector<double> steps;
        for (std::size_t wide = kLeastWide; wide < std::min(kMostWide, longest_runs.count / 2); ++wide) {
            steps.push_back(step_at(longest_runs, wide));
        }
        const auto best = std::min_element(steps.begin(), steps.end());
        auto wide = kLeastWide + static_cast<std::size_t>(best - steps.begin());
        const double least = *best;
        return least < kClearlySmoother * median(steps) ? std::optional(wide) : std::nullopt;
    }

    [[nodiscard]] std::optional<Frame> with_size(std::size_t wide) const {
        const unsigned mcu_width = 8 * borrowed_.h_max();
        const unsigned mcu_height = 8 * borrowed_.v_max();
        Frame frame = borrowed_;
        std::size_t high = 0;
        if (data_.from_start && is_whole()) {
            high = (survey_.traces.size() + wide - 1) / wide;
        }
        if (wide != borrowed_.mcus_wide()) {
            // As narrow within the last MCU as the other, if that one was full.
            frame.width = static_cast<unsigned>(wide) * mcu_width;
            const double height =
                static_cast<double>(frame.width) * borrowed_.height / static_cast<double>(borrowed_.width);
            frame.height = static_cast<unsigned>(std::lround(height));
        }
        if (high != 0 && high != frame.mcus_high()) {
            frame.height = static_cast<unsigned>(high) * mcu_height;
        } else if (high == 0) {
            agree_with_last_restart(frame, mcu_height);
        }
        const bool possible = frame.width <= 65500 && frame.height >= 1 && frame.height <= 65500 &&
                              std::uint64_t{frame.width} * frame.height <= kMaxPixels;
        return possible ? std::optional(frame) : std::nullopt;
    }

    /// Every run in turn, up to the EOI.
    [[nodiscard]] bool is_whole() const {
        return !survey_.runs.empty() && survey_.runs.back().at_eoi &&
               std::all_of(survey_.runs.begin(), survey_.runs.end(),
                           [](const Run& run) { return run.closes; });
    }

    /// The number of the last restart marker leaves the number of intervals open by multiples of eight: uses
    /// the nearest height that agrees.
    void agree_with_last_restart(Frame& frame, unsigned mcu_height) const {
        if (data_.interval == 0 || survey_.runs.empty() || !survey_.runs.back().at_eoi ||
            survey_.runs.back().restart < 0) {
            return;
        }
        const std::size_t phase = (static_cast<std::size_t>(survey_.runs.back().restart) + 2) % 8;
        const auto fits = [&](int rows) {
            const std::int64_t mcus = (std::int64_t{frame.mcus_high()} + rows) * frame.mcus_wide();
            return mcus > 0 && static_cast<std::size_t>((mcus - 1) / data_.interval + 1) % 8 == phase;
        };
        for (int rows = 0; rows <= 8; ++rows) {
            for (const int change : {rows, -rows}) {
                if (fits(change)) {
                    if (change != 0) {
                        frame.height = static_cast<unsigned>((static_cast<int>(frame.mcus_high()) + change) *
                                                             static_cast<int>(mcu_height));
                    }
                    return;
                }
            }
        }
    }

    const Frame& borrowed_;
    const PictureCandidate& candidate_;
    McuDecoder decoder_;
    ScanData data_;
    Survey survey_;
};

} // namespace

std::optional<Frame> infer_frame(Bytes file, const Hypothesis& hypothesis) {
    return FrameInference(file, hypothesis).infer();
}

} // namespace still_mend
