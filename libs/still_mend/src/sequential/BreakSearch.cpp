#include "sequential/BreakSearch.h"

#include "fit/Statistics.h"
#include "sequential/Smoothness.h"

#include <algorithm>

namespace still_mend {

namespace {

// What these lead to is in the tables of docs/salvage.md, in the columns of codings without restarts. In the
// trials of PlainPlacement.cpp half of kChange and twice as much give the same share of MCUs in place, and of
// claimed ones.
constexpr std::size_t kMostParts = 512;
constexpr std::size_t kMostNoise = 256; // MCUs between damage and the error that it leads to.
constexpr double kChange = 7;           // Rough steps by which the sum must exceed the bound for a change.

class BreakSearch {
  public:
    BreakSearch(const Survey& survey, std::size_t wide, std::size_t total, double typical)
        : survey_(survey), traces_(survey.traces), wide_(wide), total_(total), typical_(typical),
          bound_(rough_step(typical)) {}

    std::vector<RunPart> find() {
        for (std::size_t index = 0; index < survey_.runs.size() && found_.size() < kMostParts; ++index) {
            const Run& run = survey_.runs[index];
            if (is_in_place(run, total_)) {
                add(index, run.trace, end_in_place(run));
            } else {
                split(index);
            }
        }
        return std::move(found_);
    }

  private:
    /// Alternates between looking for a change to rough and one to smooth, by the sums of what exceeds the
    /// bound.
    void split(std::size_t index) {
        const Run& run = survey_.runs[index];
        const std::size_t end = run.trace + run.count;
        bool smooth = run.dc_known;
        std::size_t begin = run.trace;  // Of the current part, if smooth.
        std::size_t change = run.trace; // Where the sum was last 0.
        double sum = 0;
        for (std::size_t mcu = run.trace + 1; mcu < end && found_.size() < kMostParts; ++mcu) {
            const double step = std::min(traces_.step_right(mcu - 1, mcu), kMostRough * bound_);
            sum = std::max(0.0, sum + (smooth ? step - bound_ : bound_ - step));
            if (sum == 0) {
                change = mcu;
            }
            const bool changed = sum > kChange * bound_;
            if (smooth && (changed || is_misaligned(run, mcu))) {
                add(index, begin, std::max(changed ? change : mcu, begin));
                smooth = !changed;
                begin = mcu;
                change = mcu;
                sum = 0;
            } else if (!smooth && changed) {
                smooth = true;
                begin = change;
                change = mcu;
                sum = 0;
            }
        }
        if (smooth) {
            add(index, begin, end_of_smooth(run, begin, end));
        }
    }

    /// A run that an error ended has noise before the error.
    [[nodiscard]] std::size_t end_of_smooth(const Run& run, std::size_t begin, std::size_t end) const {
        const bool good = run.closes || run.cut || run.count >= total_;
        return good ? end : begin + smooth_prefix(traces_, begin, end, typical_);
    }

    /// The same for a run that stays in its place: only its last MCUs are examined, against the usual step
    /// before them.
    [[nodiscard]] std::size_t end_in_place(const Run& run) const {
        const std::size_t end = run.trace + run.count;
        if (run.at_eoi || run.cut || run.count >= total_) {
            return end;
        }
        if (run.count <= kMostNoise) { // Nothing shows what is usual here.
            return run.trace + smooth_prefix(traces_, run.trace, end, typical_);
        }
        const std::size_t begin = end - kMostNoise;
        std::vector<double> steps;
        for (std::size_t mcu = begin - std::min(begin - run.trace, 4 * kMostNoise); mcu + 1 < begin; ++mcu) {
            steps.push_back(traces_.step_right(mcu, mcu + 1));
        }
        return begin + smooth_prefix(traces_, begin, end, std::max(median(steps), typical_));
    }

    /// Too few MCUs are dropped, except at the beginning of the scan.
    void add(std::size_t index, std::size_t begin, std::size_t end) {
        const Run& run = survey_.runs[index];
        if (end > begin && (end - begin >= kMinRun || (run.dc_known && begin == run.trace))) {
            found_.push_back({index, begin, end});
        }
    }

    /// Whether the row that begins here does not fit the row before it, although that one fitted its own.
    [[nodiscard]] bool is_misaligned(const Run& run, std::size_t mcu) {
        if (compared_ > kMostCompared || mcu < run.trace + 2 * wide_ || mcu + wide_ > run.trace + run.count ||
            traces_.step_right(mcu - 1, mcu) < bound_) {
            return false;
        }
        compared_ += wide_;
        double before = 0;
        double after = 0;
        for (std::size_t index = 0; index < wide_; ++index) {
            before += traces_.step_down(mcu - 2 * wide_ + index, mcu - wide_ + index);
            after += traces_.step_down(mcu - wide_ + index, mcu + index);
        }
        return after > 3 * before + 2 * kLevel * static_cast<double>(wide_);
    }

    const Survey& survey_;
    const McuTraces& traces_;
    std::size_t wide_;
    std::size_t total_;
    double typical_;
    double bound_; // Steps from this on are rough.
    std::size_t compared_ = 0;
    std::vector<RunPart> found_;
};

} // namespace

bool is_in_place(const Run& run, std::size_t total) {
    return run.dc_known && (!run.at_eoi || run.count == total);
}

std::vector<RunPart> find_unbroken_parts(const Survey& survey, std::size_t wide, std::size_t total,
                                         double typical) {
    return BreakSearch(survey, wide, total, typical).find();
}

} // namespace still_mend
