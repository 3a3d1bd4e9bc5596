#include "progressive/IntervalPath.h"

#include <algorithm>
#include <array>

namespace still_mend {

namespace {

// Logarithms of odds. What they lead to is in the table of cut intervals in docs/salvage.md.
constexpr double kSeamlessLoss = -12; // A loss that leaves no sign.
constexpr double kVisibleLoss = 1;    // One where numbers or bits show a loss.
constexpr double kFittingLoss = 3;    // One of as many intervals as the bytes would hold.
constexpr double kNotClosing = -4;    // Bits that do not end where they must.
constexpr double kClear = 6;          // What makes a state sure.

using Row = std::array<double, PathInterval::kMostStates>;

/// Goes over the intervals forwards, and then backwards with the best that can still follow.
class PathSearch {
  public:
    PathSearch(const std::vector<PathInterval>& intervals, const PathFits& fits,
               const std::vector<std::size_t>& losses, bool closed_end)
        : intervals_(intervals), fits_(fits), losses_(losses), states_(losses.size()),
          closed_end_(closed_end), best_(intervals.size() * states_),
          below_((intervals.size() + 1) * states_) {
        for (std::size_t entry = 0; entry < best_.size(); ++entry) {
            below_[entry + states_] = below_[entry] + fits_.below[entry];
        }
    }

    std::vector<PathStep> find() {
        for (std::size_t interval = 0; interval < intervals_.size(); ++interval) {
            for (std::size_t state = 0; state < states_; ++state) {
                best_[interval * states_ + state] = fit(interval, state) + best_before(interval, state);
            }
        }
        return go_back();
    }

  private:
    [[nodiscard]] double fit(std::size_t interval, std::size_t state) const {
        const auto open = [state](unsigned closing) {
            return (closing >> state & 1U) == 0 ? kNotClosing : 0;
        };
        const std::size_t entry = interval * states_ + state;
        return fits_.alone[entry] + fits_.below[entry] + open(intervals_[interval].closing) +
               open(intervals_[interval].refining);
    }

    /// From one state to another between the interval before and this one.
    [[nodiscard]] double transition(std::size_t interval, std::size_t from, std::size_t to) const {
        if (from == to) {
            return fits_.joined[interval * states_ + to];
        }
        // The intervals in reach are below intervals of another state.
        const std::size_t end = std::min(interval + fits_.reach, intervals_.size());
        return odds_of_loss(interval, losses_[to] - losses_[from]) -
               (below_[end * states_ + to] - below_[interval * states_ + to]);
    }

    [[nodiscard]] double odds_of_loss(std::size_t interval, std::size_t eights) const {
        if (intervals_[interval].seamless) {
            return kSeamlessLoss;
        }
        return eights == intervals_[interval].eights ? kFittingLoss : kVisibleLoss;
    }

    [[nodiscard]] double best_before(std::size_t interval, std::size_t state) const {
        if (interval == 0) {
            return state == 0 ? 0 : kSeamlessLoss;
        }
        double best = best_[(interval - 1) * states_ + state] + transition(interval, state, state);
        for (std::size_t from = 0; from < state; ++from) {
            best = std::max(best, best_[(interval - 1) * states_ + from] + transition(interval, from, state));
        }
        return best;
    }

    std::vector<PathStep> go_back() const {
        std::vector<PathStep> path(intervals_.size());
        Row following{}; // The best that follows, by state.
        for (std::size_t state = 0; state + 1 < states_; ++state) {
            following[state] = closed_end_ ? kSeamlessLoss : kVisibleLoss;
        }
        std::size_t highest = states_; // States above that of the next interval are impossible.
        for (std::size_t interval = intervals_.size(); interval-- > 0;) {
            const double* here = best_.data() + interval * states_;
            std::size_t chosen = 0;
            for (std::size_t state = 1; state < highest; ++state) {
                if (here[state] + following[state] > here[chosen] + following[chosen]) {
                    chosen = state;
                }
            }
            path[interval] = {static_cast<std::uint8_t>(chosen), is_clear(here, following, chosen)};
            highest = chosen + 1;
            following = following_before(interval, following);
        }
        return path;
    }

    [[nodiscard]] bool is_clear(const double* here, const Row& following, std::size_t chosen) const {
        for (std::size_t state = 0; state < states_; ++state) {
            if (state != chosen &&
                here[state] + following[state] + kClear > here[chosen] + following[chosen]) {
                return false;
            }
        }
        return true;
    }

    /// What follows the interval before this one.
    [[nodiscard]] Row following_before(std::size_t interval, const Row& following) const {
        Row row{};
        for (std::size_t from = 0; from < states_; ++from) {
            row[from] = transition(interval, from, from) + fit(interval, from) + following[from];
            for (std::size_t to = from + 1; to < states_; ++to) {
                row[from] =
                    std::max(row[from], transition(interval, from, to) + fit(interval, to) + following[to]);
            }
        }
        return row;
    }

    const std::vector<PathInterval>& intervals_;
    const PathFits& fits_;
    const std::vector<std::size_t>& losses_;
    std::size_t states_;
    bool closed_end_;
    std::vector<double> best_;  // By interval and state: the likeliest way there.
    std::vector<double> below_; // By interval and state: the sum of those fits of all intervals before.
};

} // namespace

std::vector<PathStep> find_path(const std::vector<PathInterval>& intervals, const PathFits& fits,
                                const std::vector<std::size_t>& losses, bool closed_end) {
    return PathSearch(intervals, fits, losses, closed_end).find();
}

} // namespace still_mend
