#include "sequential/SeamSearch.h"

#include "Work.h"
#include "fit/BlockBorders.h"
#include "fit/Statistics.h"
#include "sequential/Smoothness.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace still_mend {

namespace {

constexpr std::size_t kLeastSeamWidth = 8; // MCUs in a row; fewer show nothing.
constexpr double kMostJumpSteps = 6;       // A step counts as at most this many usual ones.
constexpr double kClearJump = 12;          // Logarithm of the odds for a jump,
constexpr double kClearPlace = 3;          // and of those against its beginning with a row.
constexpr double kDeviationsOfJump = 4;    // Of the median, in the median of the deviations.
constexpr std::size_t kLeastInRow = 6;     // MCUs of each of the two rows that a seam is in.
constexpr double kMostResidual = 2;        // Of the usual step nearby, what is left when it is levelled.
constexpr double kOneSided = 0.75;         // Share of a row whose steps go the same way if the level jumped.
constexpr double kSeamFactor = 2.5;        // A seam is rougher than what is around it by this factor,
constexpr double kSeamSteps = 3 * kLevel;  // and by this much.
constexpr double kMostStep = 40 * kLevel;  // An edge is no rougher than this.
constexpr double kRoughShare = 0.6;        // Share of the steps in a seam that are rough.
constexpr double kClearSeam = 4;           // MCUs that it must be away from the beginning of a row.
constexpr std::size_t kMostSamples = 4096; // For the usual step.

/// The windows of a row's length that begin where a row does, before and after an index.
struct Aligned {
    std::size_t before;
    std::size_t after;
};
Aligned aligned_with(const Stretch& stretch, std::size_t index) {
    const std::size_t column = (stretch.position + index) % stretch.wide;
    return {index - std::min(index, column), index - column + stretch.wide};
}

/// What would level each MCU with the one above it, for one component.
class LevelSteps {
  public:
    LevelSteps(const McuTraces& traces, const Stretch& stretch, std::size_t component)
        : stretch_(stretch), wide_(stretch.wide), steps_(stretch.size(), 0) {
        Work::add(stretch.size());
        for (std::size_t index = wide_; index < steps_.size(); ++index) {
            const std::size_t below = stretch.first + index;
            steps_[index] = static_cast<float>(traces.level_down(below - wide_, below, component));
        }
        measure_usual();
    }

    struct Jump {
        std::size_t index = 0;
        double level = 0;
    };

    /// The next jump from the index on, which is then levelled; the index moves on.
    std::optional<Jump> next(std::size_t& index) {
        for (; index + wide_ <= steps_.size(); ++index) {
            slide_to(index);
            if (up_ < least_one_sided() && down_ < least_one_sided()) {
                continue;
            }
            const Jump jump = best_near(index);
            const bool clear = is_clear(jump);
            index = clear ? std::max(index, jump.index) + 1 : index + std::max<std::size_t>(wide_ / 8, 1);
            if (clear) {
                level(jump);
                counted_ = false;
                return jump;
            }
        }
        return std::nullopt;
    }

  private:
    [[nodiscard]] int least_one_sided() const {
        return static_cast<int>(kOneSided * static_cast<double>(wide_));
    }

    void measure_usual() {
        std::vector<double> sizes;
        const std::size_t apart = std::max<std::size_t>(steps_.size() / kMostSamples, 1);
        for (std::size_t index = wide_; index < steps_.size(); index += apart) {
            sizes.push_back(std::abs(steps_[index]));
        }
        usual_ = std::max(median(sizes), static_cast<double>(kLevel) / 2);
    }

    void count(std::size_t index, int by) {
        up_ += steps_[index] > usual_ ? by : 0;
        down_ += steps_[index] < -usual_ ? by : 0;
    }

    /// Counts the steps up and down in the window that begins at the index.
    void slide_to(std::size_t index) {
        if (counted_ && index == window_ + 1) {
            count(window_, -1);
            count(window_ + wide_, 1);
        } else if (!counted_ || index != window_) {
            up_ = 0;
            down_ = 0;
            for (std::size_t each = index; each < index + wide_; ++each) {
                count(each, 1);
            }
        }
        counted_ = true;
        window_ = index;
    }

    [[nodiscard]] double level_of(std::size_t index) const {
        std::vector<double> window(steps_.begin() + static_cast<std::ptrdiff_t>(index),
                                   steps_.begin() + static_cast<std::ptrdiff_t>(index + wide_));
        return median(window);
    }

    /// By how many usual steps an MCU fits better with this level added.
    [[nodiscard]] double gain(std::size_t index, double level) const {
        const double most = kMostJumpSteps * usual_;
        const double step = steps_[index];
        return (std::min(std::abs(step), most) - std::min(std::abs(step - level), most)) / usual_;
    }

    /// The same of a whole window.
    [[nodiscard]] double gain_of(std::size_t first, double level) const {
        double sum = 0;
        for (std::size_t index = first; index < std::min(first + wide_, steps_.size()); ++index) {
            sum += gain(index, level);
        }
        return sum;
    }

    /// The likeliest jump from half a row before the index to a row after it.
    [[nodiscard]] Jump best_near(std::size_t index) const {
        Work::add(4 * wide_);
        const double level = level_of(std::min(index + wide_ / 8, steps_.size() - wide_));
        Jump best{index - std::min(index, wide_ / 2), 0};
        const std::size_t last = std::min(index + wide_, steps_.size() - wide_);
        double sum = gain_of(best.index, level);
        double highest = sum;
        for (std::size_t first = best.index; first < last; ++first) {
            sum += gain(first + wide_, level) - gain(first, level);
            if (sum > highest) {
                highest = sum;
                best.index = first + 1;
            }
        }
        best.level = level_of(best.index);
        return best;
    }

    [[nodiscard]] bool is_clear(const Jump& jump) const {
        const Aligned aligned = aligned_with(stretch_, jump.index);
        const double odds = gain_of(jump.index, jump.level) / kNeighbours;
        const double other =
            std::max(gain_of(aligned.before, jump.level), gain_of(aligned.after, jump.level)) / kNeighbours;
        return odds > kClearJump && odds > other + kClearPlace && fits_when_levelled(jump);
    }

    /// The median of the steps of MCUs after a level is added to them.
    [[nodiscard]] double median_step(std::size_t first, std::size_t last, double level) const {
        std::vector<double> sizes;
        for (std::size_t index = std::max(first, wide_); index < std::min(last, steps_.size()); ++index) {
            sizes.push_back(std::abs(steps_[index] - level));
        }
        return median(sizes);
    }

    /// Whether both rows of the window fit what is above them, once levelled, as well as those around it do.
    /// An edge of the picture is not of the same height everywhere.
    [[nodiscard]] bool fits_when_levelled(const Jump& jump) const {
        const std::size_t end = aligned_with(stretch_, jump.index).after;
        const std::size_t last = jump.index + wide_;
        if (end - jump.index < kLeastInRow || last - end < kLeastInRow) {
            return false;
        }
        const double around = std::max(median_step(jump.index - std::min(jump.index, wide_), jump.index, 0),
                                       median_step(last, last + wide_, 0));
        const double most = kMostResidual * std::max(around, static_cast<double>(kLevel) / 2);
        return std::abs(jump.level) > most && median_step(jump.index, end, jump.level) <= most &&
               median_step(end, last, jump.level) <= most &&
               median_step(jump.index - std::min(jump.index, kLeastInRow), jump.index, 0) <= most &&
               median_step(last, last + kLeastInRow, 0) <= most;
    }

    void level(const Jump& jump) {
        for (std::size_t index = jump.index; index < jump.index + wide_; ++index) {
            steps_[index] -= static_cast<float>(jump.level);
        }
    }

    const Stretch& stretch_;
    std::size_t wide_;
    std::vector<float> steps_; // 0 in the first row.
    double usual_ = 1;
    bool counted_ = false;
    std::size_t window_ = 0;
    int up_ = 0;
    int down_ = 0;
};

/// Steps in brightness across the upper borders, and their sums.
class SeamSteps {
  public:
    SeamSteps(const McuTraces& traces, const Stretch& stretch, bool damaged)
        : stretch_(stretch), damaged_(damaged), wide_(stretch.wide), sums_(stretch.size() + 1, 0) {
        for (std::size_t index = 0; index < stretch.size(); ++index) {
            const std::size_t below = stretch.first + index;
            const double step = index < wide_ ? 0 : traces.step_down(below - wide_, below);
            sums_[index + 1] = sums_[index] + std::min(step, kMostStep);
        }
    }

    [[nodiscard]] std::optional<std::size_t> first() const {
        for (std::size_t index = wide_ + wide_ / 2; index + wide_ + wide_ / 2 <= size(); ++index) {
            if (is_rough(index)) {
                const std::size_t place = roughest_near(index);
                if (is_clear(place)) {
                    return place;
                }
                index += wide_ / 8;
            }
        }
        return std::nullopt;
    }

  private:
    [[nodiscard]] std::size_t size() const { return stretch_.size(); }
    [[nodiscard]] double sum(std::size_t first, std::size_t last) const {
        last = std::min(last, size());
        first = std::min(first, last);
        return sums_[last] - sums_[first];
    }
    [[nodiscard]] double row(std::size_t first) const { return sum(first, first + wide_); }

    /// The mean step of the row's length before a window, or of that after it: of the rougher.
    [[nodiscard]] double around(std::size_t index) const {
        const std::size_t before = std::min(wide_, index - wide_);
        const std::size_t after = std::min(wide_, size() - index - wide_);
        return std::max(sum(index - before, index) / static_cast<double>(before),
                        sum(index + wide_, index + wide_ + after) / static_cast<double>(after));
    }

    [[nodiscard]] bool is_rough(std::size_t index) const {
        return row(index) / static_cast<double>(wide_) > kSeamFactor * around(index) + kSeamSteps;
    }

    [[nodiscard]] std::size_t roughest_near(std::size_t index) const {
        std::size_t best = index;
        for (std::size_t each = index; each < index + wide_ && each + wide_ + wide_ / 2 <= size(); ++each) {
            best = row(each) > row(best) ? each : best;
        }
        return best;
    }

    [[nodiscard]] bool is_clear(std::size_t index) const {
        Work::add(3 * wide_);
        const double usual = around(index);
        const double mean = row(index) / static_cast<double>(wide_);
        std::size_t rough = 0;
        for (std::size_t each = index; each < index + wide_; ++each) {
            rough += sum(each, each + 1) > 2 * usual + kLevel ? 1U : 0U;
        }
        const Aligned aligned = aligned_with(stretch_, index);
        const double other = std::max(row(aligned.before), row(aligned.after));
        return static_cast<double>(rough) >= kRoughShare * static_cast<double>(wide_) &&
               (damaged_ || row(index) > other + kClearSeam * mean);
    }

    const Stretch& stretch_;
    bool damaged_;
    std::size_t wide_;
    std::vector<double> sums_;
};

/// What levels a component of a row's length of MCUs with what is above, in DC steps; 0 where they disagree.
std::int32_t level_from(const McuTraces& traces, const Stretch& stretch, std::size_t first,
                        std::size_t component) {
    std::vector<double> levels;
    for (std::size_t mcu = first; mcu < std::min(first + stretch.wide, stretch.last); ++mcu) {
        if (mcu >= stretch.first + stretch.wide) {
            levels.push_back(traces.level_down(mcu - stretch.wide, mcu, component));
        }
    }
    const double level = median(levels);
    for (double& each : levels) {
        each = std::abs(each - level);
    }
    const double spread = median(levels);
    const bool clear = std::abs(level) * std::sqrt(static_cast<double>(levels.size()) / kNeighbours) >
                       kDeviationsOfJump * spread;
    return clear ? static_cast<std::int32_t>(std::lround(level / traces.step_of_dc(component))) : 0;
}

/// Jumps of different components at nearly the same place are one, at the last of them.
std::vector<LevelJump> joined_jumps(const McuTraces& traces, const Stretch& stretch,
                                    const std::vector<LevelJump>& jumps) {
    std::vector<LevelJump> result;
    for (const auto& jump : jumps) {
        if (!result.empty() && jump.trace < result.back().trace + stretch.wide / 4) {
            result.back().trace = jump.trace;
        } else {
            result.push_back({jump.trace, {}});
        }
        for (std::size_t component = 0; component < traces.components(); ++component) {
            result.back().change[component] += jump.change[component];
        }
    }
    for (auto& jump : result) {
        for (std::size_t component = 0; component < traces.components(); ++component) {
            auto& change = jump.change[component];
            change = change != 0 ? change : level_from(traces, stretch, jump.trace, component);
        }
    }
    std::erase_if(result, [](const LevelJump& jump) { return jump.change == Levels{}; });
    return result;
}

} // namespace

std::vector<LevelJump> find_level_jumps(const McuTraces& traces, const Stretch& stretch) {
    std::vector<LevelJump> jumps;
    if (stretch.wide < kLeastSeamWidth || stretch.size() < 2 * stretch.wide) {
        return jumps;
    }
    for (std::size_t component = 0; component < traces.components(); ++component) {
        LevelSteps steps(traces, stretch, component);
        for (std::size_t index = 0; const auto jump = steps.next(index);) {
            const double change = jump->level / traces.step_of_dc(component);
            jumps.push_back({stretch.first + jump->index, {}});
            jumps.back().change[component] = static_cast<std::int32_t>(std::lround(change));
        }
    }
    std::stable_sort(jumps.begin(), jumps.end(),
                     [](const LevelJump& a, const LevelJump& b) { return a.trace < b.trace; });
    return joined_jumps(traces, stretch, jumps);
}

std::optional<std::size_t> find_seam(const McuTraces& traces, const Stretch& stretch, bool damaged) {
    if (stretch.wide < kLeastSeamWidth || stretch.size() < 3 * stretch.wide) {
        return std::nullopt;
    }
    const auto index = SeamSteps(traces, stretch, damaged).first();
    return index ? std::optional(stretch.first + *index) : std::nullopt;
}

} // namespace still_mend
