#include "progressive/IntervalPath.h"

#include <algorithm>
#include <array>

namespace still_mend {

namespace {

// Logarithms of odds.
constexpr double kSeamlessLoss = -12; // A loss of which nothing tells.
constexpr double kVisibleLoss = 1;    // One where numbers or bits tell of a loss.
constexpr double kFittingLoss = 3;    // One of as many intervals as the bytes would hold.
constexpr double kNotClosing = -4;    // Bits that do not end where they must.
constexpr double kClear = 6;          // What makes a state sure.

using Row = std::array<double, PathInterval::kMostStates>;

/// Goes over the pieces forwards, and then backwards with the best that can still follow.
class PathSearch {
  public:
    PathSearch(const std::vector<PathInterval>& pieces, const PathFits& fits,
               const std::vector<std::size_t>& losses, bool closed_end)
        : pieces_(pieces), fits_(fits), losses_(losses), states_(losses.size()), closed_end_(closed_end),
          best_(pieces.size() * states_), below_((pieces.size() + 1) * states_) {
        for (std::size_t entry = 0; entry < best_.size(); ++entry) {
            below_[entry + states_] = below_[entry] + fits_.below[entry];
        }
    }

    std::vector<PathStep> find() {
        for (std::size_t piece = 0; piece < pieces_.size(); ++piece) {
            for (std::size_t state = 0; state < states_; ++state) {
                best_[piece * states_ + state] = fit(piece, state) + best_before(piece, state);
            }
        }
        return go_back();
    }

  private:
    [[nodiscard]] double fit(std::size_t piece, std::size_t state) const {
        const auto open = [state](unsigned closing) {
            return (closing >> state & 1U) == 0 ? kNotClosing : 0;
        };
        const std::size_t entry = piece * states_ + state;
        return fits_.alone[entry] + fits_.below[entry] + open(pieces_[piece].closing) +
               open(pieces_[piece].refining);
    }

    /// From one state to another between the piece before and this one.
    [[nodiscard]] double passage(std::size_t piece, std::size_t from, std::size_t to) const {
        if (from == to) {
            return fits_.joined[piece * states_ + to];
        }
        // The pieces in reach are below pieces of another state.
        const std::size_t end = std::min(piece + fits_.reach, pieces_.size());
        return odds_of_loss(piece, losses_[to] - losses_[from]) -
               (below_[end * states_ + to] - below_[piece * states_ + to]);
    }

    [[nodiscard]] double odds_of_loss(std::size_t piece, std::size_t eights) const {
        if (pieces_[piece].seamless) {
            return kSeamlessLoss;
        }
        return eights == pieces_[piece].eights ? kFittingLoss : kVisibleLoss;
    }

    [[nodiscard]] double best_before(std::size_t piece, std::size_t state) const {
        if (piece == 0) {
            return state == 0 ? 0 : kSeamlessLoss;
        }
        double best = best_[(piece - 1) * states_ + state] + passage(piece, state, state);
        for (std::size_t from = 0; from < state; ++from) {
            best = std::max(best, best_[(piece - 1) * states_ + from] + passage(piece, from, state));
        }
        return best;
    }

    std::vector<PathStep> go_back() const {
        std::vector<PathStep> path(pieces_.size());
        Row behind{}; // The best that follows, by state.
        for (std::size_t state = 0; state + 1 < states_; ++state) {
            behind[state] = closed_end_ ? kSeamlessLoss : kVisibleLoss;
        }
        std::size_t highest = states_; // States above that of the piece behind are out of question.
        for (std::size_t piece = pieces_.size(); piece-- > 0;) {
            const double* here = best_.data() + piece * states_;
            std::size_t chosen = 0;
            for (std::size_t state = 1; state < highest; ++state) {
                if (here[state] + behind[state] > here[chosen] + behind[chosen]) {
                    chosen = state;
                }
            }
            path[piece] = {static_cast<std::uint8_t>(chosen), is_clear(here, behind, chosen)};
            highest = chosen + 1;
            behind = behind_before(piece, behind);
        }
        return path;
    }

    [[nodiscard]] bool is_clear(const double* here, const Row& behind, std::size_t chosen) const {
        for (std::size_t state = 0; state < states_; ++state) {
            if (state != chosen && here[state] + behind[state] + kClear > here[chosen] + behind[chosen]) {
                return false;
            }
        }
        return true;
    }

    /// What is behind the piece in front of this one.
    [[nodiscard]] Row behind_before(std::size_t piece, const Row& behind) const {
        Row row{};
        for (std::size_t from = 0; from < states_; ++from) {
            row[from] = passage(piece, from, from) + fit(piece, from) + behind[from];
            for (std::size_t to = from + 1; to < states_; ++to) {
                row[from] = std::max(row[from], passage(piece, from, to) + fit(piece, to) + behind[to]);
            }
        }
        return row;
    }

    const std::vector<PathInterval>& pieces_;
    const PathFits& fits_;
    const std::vector<std::size_t>& losses_;
    std::size_t states_;
    bool closed_end_;
    std::vector<double> best_;  // By piece and state: the likeliest way there.
    std::vector<double> below_; // By piece and state: the sum of those fits of all pieces before.
};

} // namespace

std::vector<PathStep> find_path(const std::vector<PathInterval>& pieces, const PathFits& fits,
                                const std::vector<std::size_t>& losses, bool closed_end) {
    return PathSearch(pieces, fits, losses, closed_end).find();
}

} // namespace still_mend
