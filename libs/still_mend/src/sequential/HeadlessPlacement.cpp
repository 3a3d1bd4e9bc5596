#include "sequential/HeadlessPlacement.h"

#include "Work.h"
#include "sequential/BreakSearch.h"
#include "sequential/Smoothness.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <numeric>

namespace still_mend {

namespace {

constexpr int kBlack = -128 * kLevel;
constexpr int kWhite = 127 * kLevel;
constexpr int kDarkest = 6 * kLevel;     // Above black: what most photographs have.
constexpr std::size_t kOutliers = 500;   // One MCU in as many may be outside the range: it rings at an edge.
constexpr std::size_t kLeastWhite = 8;   // Flat MCUs that are as bright as any: a camera's white,
constexpr std::size_t kWhiteShare = 500; // and one in as many.
constexpr int kFlat = 2 * kLevel;
constexpr std::size_t kDarkShare = 50;     // One MCU in as many is dark: shadows are neutral.
constexpr std::size_t kFallsIntoStep = 64; // MCUs that a run needs at most to fall into step.

/// The value that this share of the values is below or at.
int quantile(std::vector<int>& values, std::size_t nth) {
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(nth);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

/// The brightness and colour of MCUs, by which their level is estimated.
class Levelling {
  public:
    Levelling(const McuTraces& traces, std::size_t first, std::size_t last)
        : traces_(traces), first_(first), last_(last) {
        Work::add(last - first);
        measure_range();
        find_white();
        if (!has_white_) {
            find_dark();
        }
    }

    [[nodiscard]] Levels levels() const {
        Levels levels{};
        levels[0] = static_cast<std::int32_t>(brightness_shift() / traces_.step_of_dc());
        for (std::size_t component = 1; component < traces_.components(); ++component) {
            levels[component] =
                static_cast<std::int32_t>(-mean_colour(component) / traces_.step_of_dc(component));
        }
        return levels;
    }

  private:
    void measure_range() {
        std::vector<int> least;
        std::vector<int> most;
        for (std::size_t mcu = first_; mcu < last_; ++mcu) {
            const auto brightness = traces_.brightness_of(mcu);
            least.push_back(brightness.least);
            most.push_back(brightness.most);
        }
        const std::size_t outliers = (last_ - first_) / kOutliers;
        darkest_ = quantile(least, outliers);
        brightest_ = quantile(most, most.size() - 1 - outliers);
    }

    /// The flat MCUs that are as bright as any.
    void find_white() {
        for (std::size_t mcu = first_; mcu < last_; ++mcu) {
            const auto brightness = traces_.brightness_of(mcu);
            if (brightness.most - brightness.least <= kFlat && brightness.least >= brightest_ - kFlat) {
                neutral_.push_back(mcu);
            }
        }
        has_white_ = neutral_.size() >= std::max(kLeastWhite, (last_ - first_) / kWhiteShare);
    }

    void find_dark() {
        std::vector<std::size_t> mcus(last_ - first_);
        std::iota(mcus.begin(), mcus.end(), first_);
        const auto end = mcus.begin() + static_cast<std::ptrdiff_t>((mcus.size() - 1) / kDarkShare + 1);
        std::ranges::nth_element(mcus, std::prev(end), {},
                                 [&](std::size_t mcu) { return traces_.border_mean(mcu, 0); });
        neutral_.assign(mcus.begin(), end);
    }

    [[nodiscard]] int brightness_shift() const {
        if (has_white_) {
            return kWhite - brightest_;
        }
        const int most = kWhite - brightest_;
        const int least = kBlack - darkest_;
        return least <= most ? std::min(least + kDarkest, most) : (least + most) / 2;
    }

    /// Of the MCUs that are neutral: white, or dark.
    [[nodiscard]] int mean_colour(std::size_t component) const {
        std::int64_t sum = 0;
        for (const std::size_t mcu : neutral_) {
            sum += traces_.border_mean(mcu, component);
        }
        return static_cast<int>(sum / static_cast<std::int64_t>(neutral_.size()));
    }

    const McuTraces& traces_;
    std::size_t first_;
    std::size_t last_;
    int darkest_ = 0;
    int brightest_ = 0;
    bool has_white_ = false;
    std::vector<std::size_t> neutral_; // MCUs: the white ones, or else the darkest.
};

} // namespace

Levels estimate_level(const McuTraces& traces, std::size_t first, std::size_t last) {
    return Levelling(traces, first, last).levels();
}

std::vector<Placement> place_headless(const ScanData& data, const Survey& survey, Canvas& canvas) {
    if (survey.runs.empty() || !survey.runs.back().at_eoi) {
        return {};
    }
    const std::size_t index = survey.runs.size() - 1;
    const Run& run = survey.runs[index];
    const std::size_t end = run.trace + run.count;
    const auto parts = find_unbroken_parts(survey, canvas.wide(), data.total, typical_step(survey));
    const auto part = std::ranges::find(parts, index, &RunPart::run);
    const bool is_near = part != parts.end() && part->first < run.trace + kFallsIntoStep;
    const std::size_t in_step = is_near ? part->first : run.trace + std::min(kFallsIntoStep, run.count - 1);
    const std::size_t first = std::max(in_step, end - std::min(end, data.total));
    const std::size_t count = end - first;
    const Levels level = estimate_level(survey.traces, first, end);
    canvas.put(data.total - count, first, count, level);
    return {{index, first - run.trace, count, data.total - count, level, false}};
}

} // namespace still_mend
