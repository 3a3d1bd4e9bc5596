#include "mend/StreamPlaces.h"

#include "locate/Sectors.h"
#include "mend/GapChoice.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <numeric>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kMostOptions = 64; // For each gap.
constexpr std::size_t kMostRuns = 64;
constexpr double kLeastForeign = 1200; // Bytes.
constexpr double kFewValues = 24;
constexpr std::size_t kRowsAtEnd = 16; // That noise before the end may be taken for a run of.

/// Between a run and the one before it.
struct ChainGap {
    std::size_t from = 0; ///< Where the values before it end to fit those above.
    std::size_t to = 0;   ///< Where those after it begin to fit those below.
    double bytes_per_value = 1;
    double foreign = 0;  ///< Bytes.
    double expected = 0; ///< Values that are missing if foreign bytes are in place of as many.
};

class RunPlacing {
  public:
    RunPlacing(const StreamFrame& frame, const StreamChain& chain, std::vector<PhaseRun> runs,
               std::size_t lag)
        : frame_(frame), chain_(chain), runs_(std::move(runs)), lag_(lag) {
        runs_.resize(std::min(runs_.size(), kMostRuns));
    }

    std::vector<PlacedRun> run(const SideComparison& sides) {
        if (runs_.empty() || (chain_.first + runs_.front().begin) % frame_.row != 0) {
            return {};
        }
        leave_out_noise_at_end();
        std::vector<std::vector<GapOption>> options;
        std::ptrdiff_t phases = 0;
        for (std::size_t nth = 1; nth < runs_.size(); ++nth) {
            gaps_.push_back(measure(runs_[nth - 1], runs_[nth]));
            phases_.push_back(phase_between(runs_[nth - 1], runs_[nth]));
            phases += phases_.back();
            options.push_back(options_of(gaps_.back(), phases_.back()));
        }
        const bool is_anchored = !options.empty() &&
                                 runs_.back().end + kRowsAtEnd * frame_.row >= chain_.size() &&
                                 begins_as_from_end(runs_.back());
        std::optional<std::ptrdiff_t> whole;
        if (is_anchored) {
            whole = (missing() - phases) / static_cast<std::ptrdiff_t>(frame_.row);
        }
        std::vector<PlaceEvidence> evidence(options.size());
        const auto rows = choose_rows(options, evidence, whole);
        auto placed = place(rows, is_anchored);
        if (!sides) {
            return placed;
        }
        for (const PlacedRun& run : placed) {
            add(run, run.is_certain ? std::vector<SidePlace>{} : sides(run), rows, evidence);
        }
        return place(choose_rows(options, evidence, whole), is_anchored);
    }

  private:
    /// Values that are missing in all, if the chain goes on to the end of the stream.
    [[nodiscard]] std::ptrdiff_t missing() const {
        return static_cast<std::ptrdiff_t>(frame_.count()) -
               static_cast<std::ptrdiff_t>(chain_.first + chain_.size());
    }

    /// Whether rows of a run begin where they must if nothing is missing between it and the end.
    [[nodiscard]] bool begins_as_from_end(const PhaseRun& run) const {
        return chain_.is_closed && (chain_.size() - run.begin) % frame_.row == 0;
    }

    /// The last rows have hardly any after them to be judged by.
    void leave_out_noise_at_end() {
        while (runs_.size() > 2 && !begins_as_from_end(runs_.back()) &&
               runs_.back().begin + kRowsAtEnd * frame_.row >= chain_.size() &&
               begins_as_from_end(runs_[runs_.size() - 2])) {
            runs_.pop_back();
            runs_.back().end = chain_.size();
        }
    }

    /// Values from a run to the next, less than a row.
    [[nodiscard]] std::ptrdiff_t phase_between(const PhaseRun& before, const PhaseRun& after) const {
        const std::size_t row = frame_.row;
        return static_cast<std::ptrdiff_t>((row - (after.begin - before.begin) % row) % row);
    }

    /// How much values differ from those of the next row with the same colours.
    [[nodiscard]] double roughness_of(const PhaseRun& run) const {
        const std::size_t last = std::min(run.end, run.begin + 8 * lag_);
        if (last < run.begin + 2 * lag_) {
            return 1;
        }
        double sum = 0;
        std::size_t count = 0;
        for (std::size_t at = run.begin; at + lag_ < last; ++at) {
            sum += std::abs(chain_.difference(at) - chain_.difference(at + lag_));
            ++count;
        }
        return sum / static_cast<double>(count) + 1;
    }

    /// The values of the row that a run ends in that fit those above.
    [[nodiscard]] std::size_t last_fitting(const PhaseRun& run) const {
        if (run.end < run.begin + lag_ || run.end + frame_.row >= chain_.size()) {
            return run.end;
        }
        return follow(run.end, 1, roughness_of({run.end - std::min(run.end - run.begin, 8 * lag_), run.end}));
    }

    [[nodiscard]] std::size_t first_fitting(const PhaseRun& run) const {
        if (run.begin < frame_.row || run.begin + 2 * lag_ >= chain_.size()) {
            return run.begin;
        }
        return follow(run.begin, -1, roughness_of(run));
    }

    /// From a place on or back within a row, the last at which the values are as far from those of another
    /// row as those before it.
    [[nodiscard]] std::size_t follow(std::size_t from, int direction, double roughness) const {
        constexpr std::size_t kPart = 64;
        constexpr double kMostRough = 4;
        const std::size_t step = frame_.components;
        std::vector<std::int64_t> apart(step);
        std::vector<double> usual(step);
        std::size_t good = from;
        for (std::size_t done = 0; done + kPart <= frame_.row; done += kPart) {
            std::vector<double> sums(step);
            double misfit = 0;
            for (std::size_t nth = done; nth < done + kPart; ++nth) {
                const std::size_t at = direction > 0 ? from + nth : from - 1 - nth;
                const std::size_t other = direction > 0 ? at - lag_ : at + lag_;
                auto& sum = apart[nth % step];
                sum += chain_.difference(at) - chain_.difference(other);
                sums[nth % step] += static_cast<double>(sum);
                misfit += std::abs(static_cast<double>(sum) - usual[nth % step]);
            }
            if (done > 0 && misfit / kPart > kMostRough * roughness) {
                break;
            }
            for (std::size_t component = 0; component < step; ++component) {
                usual[component] = sums[component] * static_cast<double>(step) / kPart;
            }
            good = direction > 0 ? from + done + kPart : from - done - kPart;
        }
        return good;
    }

    [[nodiscard]] ChainGap measure(const PhaseRun& before, const PhaseRun& after) const {
        ChainGap gap;
        gap.from = last_fitting(before);
        gap.to = std::max(first_fitting(after), gap.from);
        const std::size_t near = 16 * frame_.row;
        const std::size_t first = std::max(before.begin, before.end - std::min(before.end, near));
        const std::size_t last = std::min(after.end, after.begin + near);
        const auto bytes = [&](std::size_t from, std::size_t to) {
            return static_cast<double>(chain_.byte_of(to) - chain_.byte_of(from));
        };
        const auto values = static_cast<double>(before.end - first + last - after.begin);
        gap.bytes_per_value = (bytes(first, before.end) + bytes(after.begin, last)) / std::max(values, 1.0);
        gap.bytes_per_value = std::max(gap.bytes_per_value, 0.1);
        gap.foreign = bytes(gap.from, gap.to);
        gap.expected = bytes(before.end, after.begin) / gap.bytes_per_value -
                       static_cast<double>(after.begin - before.end);
        return gap;
    }

    /// How unlikely it is that so many bytes are lost, or as many put in: clusters are likelier than sectors,
    /// and few than many.
    static double penalty_of_units(double bytes, double tolerance) {
        constexpr double kByUnit = 0.05;
        constexpr double kForSectors = 0.8;
        const auto penalty = [&](double unit) {
            const double units = std::max(std::round(bytes / unit), 1.0);
            return std::abs(bytes - units * unit) / (tolerance + kByUnit * units * unit) + kByUnit * units;
        };
        return std::min(penalty(static_cast<double>(kClusterBytes)),
                        penalty(static_cast<double>(kSectorBytes)) + kForSectors);
    }

    [[nodiscard]] double penalty_of(const ChainGap& gap, double missing) const {
        const double lost = (missing - gap.expected) * gap.bytes_per_value;
        const double tolerance = 100 + 0.05 * gap.foreign;
        const bool is_foreign = gap.foreign > kLeastForeign;
        // A few bits that are not as they were make codes of other lengths, which end after a few values more
        // or less. Losses of whole sectors hardly ever leave so few.
        if (!is_foreign && std::abs(missing) <= kFewValues) {
            return 0;
        }
        // Foreign bytes are mostly in place of as many; without them, something is missing.
        const double in_place = is_foreign ? 0.0 : 4.0;
        const double put_in = is_foreign ? 0.7 : 4.0;
        const double lost_as_well = is_foreign ? 1.0 : 0.0;
        const double moved = penalty_of_units(std::abs(lost), tolerance) + (lost < 0 ? put_in : lost_as_well);
        return std::min(std::abs(lost) / tolerance + in_place, moved);
    }

    [[nodiscard]] std::vector<GapOption> options_of(const ChainGap& gap, std::ptrdiff_t phase) const {
        constexpr double kMostMissing = 1048576;
        constexpr double kMostTooMany = 65536;
        constexpr std::ptrdiff_t kNearRows = 8; // Of those that are missing if none are lost, always kept.
        const auto row = static_cast<double>(frame_.row);
        const auto rows_for = [&](double bytes) {
            return static_cast<std::ptrdiff_t>(
                std::floor((gap.expected + bytes / gap.bytes_per_value - static_cast<double>(phase)) / row));
        };
        std::vector<GapOption> options;
        for (std::ptrdiff_t rows = rows_for(-kMostTooMany); rows <= rows_for(kMostMissing) + 1; ++rows) {
            const double missing = static_cast<double>(phase) + static_cast<double>(rows) * row;
            options.push_back({rows, penalty_of(gap, missing)});
        }
        const auto is_near = [&](const GapOption& option) {
            return std::abs(option.rows - rows_for(0)) <= kNearRows;
        };
        std::ranges::sort(options, {}, [&](const GapOption& option) {
            return std::pair(!is_near(option), option.penalty);
        });
        options.resize(std::min(options.size(), kMostOptions));
        return options;
    }

    /// What the rows beside a placed run say.
    void add(const PlacedRun& placed, const std::vector<SidePlace>& places,
             const std::vector<std::ptrdiff_t>& rows, std::vector<PlaceEvidence>& evidence) const {
        const auto run = std::ranges::find(runs_, placed.run.begin, &PhaseRun::begin);
        if (run != runs_.begin() && !places.empty()) {
            const std::ptrdiff_t gaps = run - runs_.begin();
            const auto before = std::accumulate(rows.begin(), rows.begin() + gaps, std::ptrdiff_t{0});
            evidence[static_cast<std::size_t>(gaps - 1)] = PlaceEvidence(places, before);
        }
    }

    std::vector<PlacedRun> place(const std::vector<std::ptrdiff_t>& rows, bool is_anchored) {
        std::vector<PlacedRun> placed{{runs_.front(), chain_.first + runs_.front().begin, true}};
        auto missing = static_cast<std::ptrdiff_t>(chain_.first);
        for (std::size_t nth = 1; nth < runs_.size(); ++nth) {
            missing += phases_[nth - 1] + rows[nth - 1] * static_cast<std::ptrdiff_t>(frame_.row);
            const std::ptrdiff_t value = missing + static_cast<std::ptrdiff_t>(runs_[nth].begin);
            PlacedRun& last = placed.back();
            const bool is_certain = is_anchored && nth + 1 == runs_.size();
            if (is_certain && value > static_cast<std::ptrdiff_t>(last.value)) {
                // Foreign rows before it were taken for the end of the run before.
                const std::size_t most = static_cast<std::size_t>(value) - last.value;
                last.run.end = std::min(last.run.end, last.run.begin + most);
            }
            const std::size_t least = last.value + last.run.end - last.run.begin;
            const std::size_t length = runs_[nth].end - runs_[nth].begin;
            if (value >= static_cast<std::ptrdiff_t>(least) &&
                static_cast<std::size_t>(value) + length <= frame_.count()) {
                placed.push_back({runs_[nth], static_cast<std::size_t>(value), is_certain});
            }
        }
        return placed;
    }

    const StreamFrame& frame_;
    const StreamChain& chain_;
    std::vector<PhaseRun> runs_;
    std::size_t lag_;
    std::vector<ChainGap> gaps_;
    std::vector<std::ptrdiff_t> phases_;
};

} // namespace

std::vector<PlacedRun> place_runs(const StreamFrame& frame, const StreamChain& chain,
                                  std::vector<PhaseRun> runs, std::size_t lag, const SideComparison& sides) {
    return RunPlacing(frame, chain, std::move(runs), lag).run(sides);
}

} // namespace raw_mend
