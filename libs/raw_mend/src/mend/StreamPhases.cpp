#include "mend/StreamPhases.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kWindow = 32; // Rows whose beginnings are judged together.
constexpr std::size_t kLeastWindow = 12;
constexpr std::size_t kHop = 4;      // Rows from a window to the next.
constexpr int kMostJump = 2047;      // Of a row's mean, in quarters.
constexpr double kClear = 0.7;       // Of the jumps at the second-best place.
constexpr double kStillClear = 1.05; // Of the jumps at the best place.

/// The sum of a row's values less its first one, wherever the row begins.
class RowSum {
  public:
    RowSum(const StreamFrame& frame, const StreamChain& chain, std::size_t at)
        : chain_(chain), row_(frame.row), step_(frame.components), at_(at) {
        for (std::size_t nth = 1; nth <= length(); ++nth) {
            total_ += difference(nth * step_);
            sum_ += static_cast<std::int64_t>(length() - nth) * difference(nth * step_);
        }
    }

    [[nodiscard]] std::int64_t mean() const {
        return sum_ * 4 / std::max(static_cast<std::int64_t>(length()), std::int64_t{1});
    }
    /// To the next value of the same component. At least so many more must be there: row and components.
    void move() {
        const std::int64_t out = difference(step_);
        sum_ += total_ - static_cast<std::int64_t>(length()) * out;
        total_ += difference(row_ + step_) - out;
        at_ += step_;
    }

  private:
    [[nodiscard]] std::size_t length() const { return row_ / step_; }
    [[nodiscard]] std::int64_t difference(std::size_t from) const { return chain_.difference(at_ + from); }

    const StreamChain& chain_;
    std::size_t row_;
    std::size_t step_;
    std::size_t at_;
    std::int64_t total_ = 0;
    std::int64_t sum_ = 0;
};

/// How far the means of the rows before and after each place differ if a row begins there, in quarters.
std::vector<std::uint16_t> measure_jumps(const StreamFrame& frame, const StreamChain& chain) {
    std::vector<std::uint16_t> jumps(chain.size(), kMostJump);
    const std::size_t first = frame.row;
    const std::size_t last = chain.size() - std::min(chain.size(), frame.row + frame.components);
    for (std::size_t component = 0; component < frame.components && first + component < last; ++component) {
        RowSum above(frame, chain, component);
        RowSum below(frame, chain, first + component);
        for (std::size_t at = first + component; at < last; at += frame.components) {
            const std::int64_t difference = chain.difference(at);
            const std::int64_t jump = std::abs(difference * 4 + below.mean() - above.mean());
            jumps[at] = static_cast<std::uint16_t>(std::min<std::int64_t>(jump, kMostJump));
            above.move();
            below.move();
        }
    }
    return jumps;
}

class PhaseSearch {
  public:
    PhaseSearch(const StreamFrame& frame, const StreamChain& chain)
        : row_(frame.row), components_(frame.components), rows_(chain.size() / frame.row),
          first_phase_((frame.row - chain.first % frame.row) % frame.row), phase_(first_phase_),
          jumps_(measure_jumps(frame, chain)), costs_(frame.row) {}

    std::vector<PhaseRun> run() {
        std::vector<PhaseRun> runs;
        for (std::size_t row = 0; row < rows_; row += kHop) {
            const auto phase = judge(row);
            if (!phase) {
                continue;
            }
            const std::size_t begin = row * row_ + *phase;
            const std::size_t end = std::min((row + kWindow) * row_ + *phase, jumps_.size());
            if (!runs.empty() && *phase == phase_) {
                runs.back().end = end;
            } else {
                runs.push_back({begin, end});
            }
            phase_ = *phase;
        }
        if (runs.empty() || runs.front().begin % row_ != first_phase_) {
            runs.insert(runs.begin(), {first_phase_, first_phase_ + row_});
        }
        runs.front().begin = first_phase_;
        for (std::size_t nth = 1; nth < runs.size(); ++nth) {
            part(runs[nth - 1], runs[nth]);
        }
        cut_end(runs.back());
        runs.erase(std::remove_if(runs.begin() + 1, runs.end(),
                                  [](const PhaseRun& run) { return run.end <= run.begin; }),
                   runs.end());
        return runs;
    }

  private:
    [[nodiscard]] std::uint64_t jump_at(std::size_t place) const {
        std::uint64_t jump = 0;
        for (std::size_t component = 0; component < components_; ++component) {
            jump += place + component < jumps_.size() ? jumps_[place + component] : kMostJump;
        }
        return jump;
    }

    /// What is usual in a run.
    [[nodiscard]] double usual_jump(const PhaseRun& run) const {
        constexpr std::size_t kMostJumps = 256;
        std::vector<std::uint64_t> jumps;
        for (std::size_t place = run.begin + row_; place < run.end && jumps.size() < kMostJumps;
             place += row_) {
            jumps.push_back(jump_at(place));
        }
        if (jumps.empty()) {
            return 0;
        }
        const auto middle = jumps.begin() + static_cast<std::ptrdiff_t>(jumps.size() / 2);
        std::nth_element(jumps.begin(), middle, jumps.end());
        return static_cast<double>(*middle);
    }

    /// What a foreign row costs among those of two runs.
    [[nodiscard]] double limit_for(double usual) const {
        constexpr double kMuch = 6;
        constexpr double kLeast = 250; // Foreign rows wander off by hundreds of levels.
        return kMuch * usual + kLeast * static_cast<double>(components_);
    }

    /// What a row costs that begins at a place. A step of the picture itself is no worse than some foreign
    /// rows.
    [[nodiscard]] double cost_at(std::size_t place, double limit) const {
        constexpr double kMostRowsWorth = 4;
        return std::min(static_cast<double>(jump_at(place)), kMostRowsWorth * limit);
    }

    /// Finds where a run ends and the next one begins: each row is of one of them, or foreign.
    void part(PhaseRun& run, PhaseRun& next) const {
        const double limit = limit_for(std::max(usual_jump(run), usual_jump(next)));
        const std::size_t phase = run.begin % row_;
        const std::size_t next_phase = next.begin % row_;
        const std::size_t near = 2 * kWindow;
        const std::size_t to = std::min(next.begin / row_ + near, next.end / row_);
        const std::size_t from =
            std::min(std::max(run.end / row_ - std::min(run.end / row_, near), run.begin / row_), to);
        // The least sum of all rows up to one, the last of which is of the run, or foreign, or of the next.
        double in_run = 0;
        double in_gap = 0;
        std::size_t end_of_gap = from; // Where the run ends if the row is foreign.
        double in_next = 0;
        std::pair<std::size_t, std::size_t> best{from, from};
        bool is_any = false;
        for (std::size_t row = from; row < to; ++row) {
            const double gap_now = in_gap + limit;
            if (is_any && in_next <= in_gap) {
                in_next += cost_at(row * row_ + next_phase, limit);
            } else {
                best = {end_of_gap, row};
                in_next = in_gap + cost_at(row * row_ + next_phase, limit);
                is_any = true;
            }
            if (in_run + limit <= gap_now) {
                in_gap = in_run + limit;
                end_of_gap = row;
            } else {
                in_gap = gap_now;
            }
            in_run += cost_at(row * row_ + phase, limit);
        }
        run.end = best.first * row_ + phase;
        next.begin =
            std::max((best.second - std::min<std::size_t>(best.second, 1)) * row_ + next_phase, run.end);
        next.begin += (row_ - (next.begin - next_phase) % row_) % row_;
    }

    /// Takes foreign rows off the end of the last run. The very last row has none after it to be judged by.
    void cut_end(PhaseRun& run) const {
        const double limit = limit_for(usual_jump(run));
        double sum = 0;
        double least = 0;
        std::size_t end = run.end;
        std::size_t place = run.end - (run.end - run.begin) % row_;
        for (; place + 2 * row_ <= jumps_.size(); place += row_) {
            sum += cost_at(place, limit) - limit;
            if (sum <= least) {
                least = sum;
                end = place + row_;
            }
        }
        run.end = end + 2 * row_ > jumps_.size() ? jumps_.size() : end;
    }

    /// Where rows begin in a window, if that is clear.
    std::optional<std::size_t> judge(std::size_t first) {
        const std::size_t last = std::min(first + kWindow, rows_);
        if (last < first + kLeastWindow) {
            return std::nullopt;
        }
        std::ranges::fill(costs_, std::uint64_t{0});
        for (std::size_t row = first; row < last; ++row) {
            for (std::size_t phase = 0; phase < row_; ++phase) {
                costs_[phase] += jump_at(row * row_ + phase);
            }
        }
        const auto best = static_cast<std::size_t>(std::ranges::min_element(costs_) - costs_.begin());
        if (static_cast<double>(costs_[phase_]) <= kStillClear * static_cast<double>(costs_[best])) {
            return phase_;
        }
        std::uint64_t second = UINT64_MAX;
        for (std::size_t phase = 0; phase < row_; ++phase) {
            const std::size_t apart = phase > best ? phase - best : best - phase;
            if (apart >= components_ && apart + components_ <= row_) {
                second = std::min(second, costs_[phase]);
            }
        }
        return static_cast<double>(costs_[best]) < kClear * static_cast<double>(second) ? std::optional(best)
                                                                                        : std::nullopt;
    }

    std::size_t row_;
    std::size_t components_;
    std::size_t rows_;
    std::size_t first_phase_; // If nothing is lost.
    std::size_t phase_;
    std::vector<std::uint16_t> jumps_;
    std::vector<std::uint64_t> costs_;
};

} // namespace

std::vector<PhaseRun> find_phase_runs(const StreamFrame& frame, const StreamChain& chain) {
    return PhaseSearch(frame, chain).run();
}

} // namespace raw_mend
