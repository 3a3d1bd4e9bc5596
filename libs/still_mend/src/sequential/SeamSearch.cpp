#include "sequential/SeamSearch.h"

#include "Work.h"
#include "fit/BlockBorders.h"
#include "fit/Statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace still_mend {

namespace {

constexpr std::size_t kLeastSeamWidth = 8; // MCUs in a row; fewer show nothing.
constexpr double kJumpNeighbours = 4; // This many neighbours count as one: their steps are nearly the same.
constexpr double kMostJumpSteps = 6;  // A step counts as at most this many usual ones.
constexpr double kClearJump = 12;     // Logarithm of the odds for a jump,
constexpr double kClearPlace = 3;     // and of those against its beginning with a row.
constexpr double kOneSided = 0.75;    // Share of a row whose steps go the same way if the level jumped.
constexpr double kSeamFactor = 2.5;   // A seam is rougher than what is around it by this factor,
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
        const double odds = gain_of(jump.index, jump.level) / kJumpNeighbours;
        const double other =
            std::max(gain_of(aligned.before, jump.level), gain_of(aligned.after, jump.level)) /
            kJumpNeighbours;
        return odds > kClearJump && odds > other + kClearPlace;
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
    SeamSteps(const McuTraces& traces, const Stretch& stretch)
        : stretch_(stretch), wide_(stretch.wide), sums_(stretch.size() + 1, 0) {
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
               row(index) > other + kClearSeam * mean;
    }

    const Stretch& stretch_;
    std::size_t wide_;
    std::vector<double> sums_;
};

} // namespace

std::vector<LevelJump> find_level_jumps(const McuTraces& traces, const Stretch& stretch) {
    std::vector<LevelJump> jumps;
    if (stretch.wide < kLeastSeamWidth || stretch.size() < 2 * stretch.wide) {
        return jumps;
    }
    for (std::size_t component = 0; component < traces.components(); ++component) {
        LevelSteps steps(traces, stretch, component);
        for (std::size_t index = 0;;) {
            const auto jump = steps.next(index);
            if (!jump) {
                break;
            }
            const auto change =
                static_cast<std::int32_t>(std::lround(jump->level / traces.step_of_dc(component)));
            if (change != 0) {
                jumps.push_back({stretch.first + jump->index, {}});
                jumps.back().change[component] = change;
            }
        }
    }
    std::stable_sort(jumps.begin(), jumps.end(),
                     [](const LevelJump& a, const LevelJump& b) { return a.trace < b.trace; });
    return jumps;
}

std::optional<std::size_t> find_seam(const McuTraces& traces, const Stretch& stretch) {
    if (stretch.wide < kLeastSeamWidth || stretch.size() < 3 * stretch.wide) {
        return std::nullopt;
    }
    const auto index = SeamSteps(traces, stretch).first();
    return index ? std::optional(stretch.first + *index) : std::nullopt;
}

} // namespace still_mend
