#include "header/FrameInference.h"

#include "fit/Statistics.h"
#include "sequential/Survey.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace still_mend {

namespace {

constexpr std::size_t kLeastWide = 4; // MCUs.
constexpr std::size_t kMostWide = 2048;
constexpr std::size_t kLeastRows = 6;       // Of the narrowest picture.
constexpr std::size_t kCompared = 3000;     // MCUs for each of the likeliest widths.
constexpr std::size_t kLikeliest = 32;      // Widths.
constexpr std::size_t kComparedPerByte = 2; // MCUs of the whole search, for all widths.
/// Height by width, in the order in which cameras use them.
constexpr std::array kUsualProportions{3.0 / 4, 2.0 / 3, 9.0 / 16, 4.0 / 3, 3.0 / 2, 16.0 / 9, 1.0};
constexpr double kSparser = 1.5;         // A sky at the top has fewer bytes than the rest.
constexpr double kClearlySmoother = 0.7; // Of the median step of all widths.

/// Runs that follow one another without a gap.
struct JoinedRuns {
    std::size_t first = 0; // Trace.
    std::size_t count = 0;
    std::size_t bytes = 0;
};

class FrameInference {
  public:
    FrameInference(Bytes file, const Hypothesis& hypothesis)
        : borrowed_(*hypothesis.candidate.frame), candidate_(hypothesis.candidate),
          decoder_(borrowed_, *candidate_.scan, hypothesis.decoding_tables()),
          data_{file,
                candidate_.entropy,
                candidate_.limit,
                candidate_.tables.restart_interval,
                static_cast<std::size_t>(kMaxPixels / 4 / borrowed_.mcu_area()),
                hypothesis.from_start},
          survey_{McuTraces(borrowed_, *candidate_.scan, candidate_.tables), {}, 0} {}

    std::optional<InferredFrame> infer() {
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
        const auto frame = wide ? with_size(*wide) : std::nullopt;
        return frame ? std::optional(InferredFrame{*frame, longest_runs.count, longest_runs.bytes,
                                                   step_at(longest_runs, *wide)})
                     : std::nullopt;
    }

  private:
    [[nodiscard]] JoinedRuns find_longest() const {
        JoinedRuns best;
        JoinedRuns current;
        for (const auto& run : survey_.runs) {
            const bool follows = data_.interval != 0 && run.closes && run.adjacent &&
                                 current.first + current.count == run.trace;
            const std::size_t bytes = run.end - run.begin;
            current = follows ? JoinedRuns{current.first, current.count + run.count, current.bytes + bytes}
                              : JoinedRuns{run.trace, run.count, bytes};
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

    /// The mean step down of a few MCUs from all over the runs if a row has this many.
    [[nodiscard]] double rough_step_at(const JoinedRuns& longest_runs, std::size_t wide,
                                       std::size_t few) const {
        const std::size_t last = longest_runs.first + longest_runs.count;
        const std::size_t apart = std::max<std::size_t>((longest_runs.count - wide) / few, 1);
        double sum = 0;
        double count = 0;
        for (std::size_t mcu = longest_runs.first + wide; mcu < last; mcu += apart) {
            sum += survey_.traces.step_down(mcu - wide, mcu);
            ++count;
        }
        return sum / count;
    }

    /// A few MCUs show the likeliest widths; many decide between these.
    [[nodiscard]] std::optional<std::size_t> width(const JoinedRuns& longest_runs) const {
        if (longest_runs.count < kLeastRows * kLeastWide) {
            return std::nullopt;
        }
        const std::size_t widths = std::min(kMostWide, longest_runs.count / 2) - kLeastWide;
        const std::size_t few =
            std::clamp<std::size_t>(kComparedPerByte * (data_.limit - data_.first) / widths, 1, kCompared);
        std::vector<double> steps;
        std::vector<std::size_t> order; // Of the widths.
        for (std::size_t index = 0; index < widths; ++index) {
            steps.push_back(rough_step_at(longest_runs, kLeastWide + index, few));
            order.push_back(index);
        }
        const auto likeliest = order.begin() + static_cast<std::ptrdiff_t>(std::min(kLikeliest, widths));
        std::ranges::partial_sort(order, likeliest, {}, [&](std::size_t index) { return steps[index]; });
        std::size_t best = order.front();
        double least = std::numeric_limits<double>::infinity();
        for (auto index = order.begin(); index != likeliest; ++index) {
            const double step = step_at(longest_runs, kLeastWide + *index);
            best = step < least ? *index : best;
            least = std::min(least, step);
        }
        const double of_best = steps[best];
        const bool clear = of_best < kClearlySmoother * median(steps); // This changes the order of steps.
        return clear ? std::optional(kLeastWide + best) : std::nullopt;
    }

    [[nodiscard]] std::optional<Frame> with_size(std::size_t wide) const {
        const unsigned mcu_width = 8 * borrowed_.h_max();
        const unsigned mcu_height = 8 * borrowed_.v_max();
        Frame frame = borrowed_;
        if (borrowed_.width == 0) {
            frame.width = static_cast<unsigned>(wide) * mcu_width;
            frame.height = likely_height(frame.width, mcu_height);
            return is_possible(frame) ? std::optional(frame) : std::nullopt;
        }
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
        return is_possible(frame) ? std::optional(frame) : std::nullopt;
    }

    static bool is_possible(const Frame& frame) {
        return frame.width <= 65500 && frame.height >= 1 && frame.height <= 65500 &&
               std::uint64_t{frame.width} * frame.height <= kMaxPixels;
    }

    /// The height of a picture of this width: of the usual proportions, the first that has room for what
    /// survives, and for no more than the bytes before it could hold.
    [[nodiscard]] unsigned likely_height(unsigned width, unsigned mcu_height) const {
        const auto mcus = static_cast<double>(survey_.traces.size());
        const double wide = static_cast<double>(width) / (8 * borrowed_.h_max());
        const auto bytes = static_cast<double>(std::max(survey_.end, data_.first + 1) - data_.first);
        const double least = mcus / wide * mcu_height;
        const double most = least * (1 + kSparser * static_cast<double>(data_.first) / bytes);
        const double middle = least + (most - least) / 2;
        const auto fits = [&](double proportion) {
            return proportion * width + mcu_height > least && proportion * width < most + mcu_height;
        };
        const auto* usual = std::ranges::find_if(kUsualProportions, fits);
        const double height = usual != kUsualProportions.end() ? *usual * width : middle;
        return static_cast<unsigned>(std::min(std::lround(height), 65535L));
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

std::optional<InferredFrame> infer_frame(Bytes file, const Hypothesis& hypothesis) {
    return FrameInference(file, hypothesis).infer();
}

} // namespace still_mend
