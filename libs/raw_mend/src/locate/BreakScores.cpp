#include "locate/BreakScores.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <span>

namespace raw_mend {

namespace {

constexpr double kMaxVote = 5;
constexpr std::uint64_t kMinVotes = 3;
constexpr std::size_t kMedianOf = 256;

/// Orders positive numbers: 16 steps per power of two.
class Bins {
  public:
    static constexpr std::size_t kCount = 512;

    static constexpr std::uint16_t kNone = kCount; ///< For other numbers.

    static std::uint16_t bin(float value) {
        constexpr auto kOne = static_cast<std::int32_t>(std::bit_cast<std::uint32_t>(1.0F) >> 19U);
        constexpr std::int32_t kLast = kCount - 1;
        const auto place = static_cast<std::int32_t>(std::bit_cast<std::uint32_t>(value) >> 19U);
        const std::int32_t bin = std::min(std::max(place - kOne, 0), kLast);
        return static_cast<std::uint16_t>(value > 0 ? bin : std::int32_t{kNone});
    }

    using Counts = std::array<std::uint32_t, kCount + 1>;

    /// How often each bin is there. Several counters take turns: most numbers are in few bins, and a
    /// processor would wait for a counter that it has just changed.
    static Counts count(std::span<const std::uint16_t> bins) {
        constexpr std::size_t kTurns = 4;
        std::array<Counts, kTurns> counts{};
        std::size_t nth = 0;
        for (; nth + kTurns <= bins.size(); nth += kTurns) {
            for (std::size_t turn = 0; turn < kTurns; ++turn) {
                ++counts[turn][bins[nth + turn]];
            }
        }
        for (; nth < bins.size(); ++nth) {
            ++counts[0][bins[nth]];
        }
        for (std::size_t bin = 0; bin <= kCount; ++bin) {
            counts[0][bin] += counts[1][bin] + counts[2][bin] + counts[3][bin];
        }
        return counts[0];
    }
};

} // namespace

BreakScores::BreakScores(const RowGeometry& geometry)
    : geometry_(geometry), cells_(geometry.packing == Packing::kCells), step_(geometry.step()),
      per_group_(geometry.group_units()), units_(static_cast<std::size_t>(geometry.row_units())),
      differences_(units_ + step_ + 1), left_ends_(cells_ ? units_ : 0), right_ends_(cells_ ? units_ + 1 : 0),
      candidates_(units_ / per_group_), bins_(candidates_.size()), sum_(units_), squares_(units_),
      slopes_(units_), right_slopes_(cells_ ? units_ : 0) {}

void BreakScores::add(Bytes window) {
    const std::uint64_t whole = window.size() / geometry_.row_bytes;
    for (std::uint64_t row = 0; row + geometry_.cfa_period < whole; row += geometry_.cfa_period) {
        add_vote(window, row);
    }
}

void BreakScores::add_vote(Bytes window, std::uint64_t first_row) {
    for (auto* differences : {&differences_, &left_ends_, &right_ends_}) {
        std::ranges::fill(*differences, 0.0F);
    }
    for (unsigned row = 0; row < geometry_.cfa_period; ++row) {
        read_row(window, first_row + row);
        add_differences();
    }
    score_candidates();
    rank_candidates();
    ++votes_;
}

void BreakScores::read_row(Bytes window, std::uint64_t row) {
    const std::size_t count = units_ + (step_ + per_group_ - 1) / per_group_ * per_group_;
    const auto from = static_cast<std::size_t>(row * geometry_.row_bytes);
    read_units(geometry_, window.subspan(from), count, row_);
}

void BreakScores::add_differences() {
    const float* const right = row_.first.data() + step_;
    const float* const left = cells_ ? row_.last.data() : row_.first.data();
    float* const sum = differences_.data() + step_ + 1;
    for (std::size_t i = 0; i < units_; ++i) {
        sum[i] += std::abs(right[i] - left[i]);
    }
    if (cells_) {
        add_ends();
    }
}

/// In cells, the neighbours of a break are inside.
void BreakScores::add_ends() {
    for (std::size_t i = 0; i < units_; ++i) {
        left_ends_[i] += std::abs(row_.second[i] - row_.first[i]);
        right_ends_[1 + i] += std::abs(row_.last[i] - row_.last_but_one[i]);
    }
    right_ends_[0] = right_ends_[units_];
}

const float* BreakScores::right_of_break() const {
    return cells_ ? left_ends_.data() : differences_.data() + step_ + 1;
}

const float* BreakScores::left_of_break() const {
    return cells_ ? right_ends_.data() + 1 : differences_.data() + 1;
}

/// At the seam, as many neighbours in a row differ as there are colours, and none beside them.
void BreakScores::score_candidates() {
    std::copy(differences_.end() - static_cast<std::ptrdiff_t>(step_ + 1), differences_.end(),
              differences_.begin());
    const float* const right = right_of_break();
    const float* const before_left = left_of_break() - 1;
    if (per_group_ == 1 && step_ == 2) { // As most are, without a loop inside the loop.
        const float* const across = differences_.data() + 1;
        for (std::size_t unit = 0; unit < units_; ++unit) {
            candidates_[unit] =
                std::min(across[unit], across[unit + 1]) - std::max(before_left[unit], right[unit]);
        }
        return;
    }
    for (std::size_t nth = 0; nth < candidates_.size(); ++nth) {
        const std::size_t unit = nth * per_group_;
        const float* const across = differences_.data() + unit + 1;
        float least = across[0];
        for (std::size_t i = 1; i < step_; ++i) {
            least = std::min(least, across[i]);
        }
        candidates_[nth] = least - std::max(before_left[unit], right[unit]);
    }
}

void BreakScores::rank_candidates() {
    for (std::size_t nth = 0; nth < bins_.size(); ++nth) {
        bins_[nth] = Bins::bin(candidates_[nth]);
    }
    const Bins::Counts count = Bins::count(bins_);
    const auto candidates = static_cast<double>(bins_.size());
    std::size_t below = count[Bins::kNone];
    std::array<double, Bins::kCount + 1> vote{}; // None for those that are no break.
    for (std::size_t bin = 0; bin < Bins::kCount; ++bin) {
        if (count[bin] == 0) {
            continue;
        }
        const double rest = 1 - static_cast<double>(below) / candidates;
        vote[bin] = rest > 0 ? std::min(-std::log(rest), kMaxVote) : kMaxVote;
        below += count[bin];
    }
    for (std::size_t nth = 0; nth < bins_.size(); ++nth) {
        const double votes = vote[bins_[nth]];
        sum_[nth * per_group_] += votes;
        squares_[nth * per_group_] += votes * votes;
    }
    const float median = median_difference();
    const float* const right = right_of_break();
    for (std::size_t i = 0; i < units_; ++i) {
        slopes_[i] += right[i] / (right[i] + median);
    }
    for (std::size_t i = 0; i < right_slopes_.size(); ++i) {
        right_slopes_[i] += right_ends_[1 + i] / (right_ends_[1 + i] + median);
    }
}

/// That of some of the differences.
float BreakScores::median_difference() {
    sorted_.clear();
    for (std::size_t i = 0; i < units_; i += 1 + units_ / kMedianOf) {
        sorted_.push_back(differences_[i]);
    }
    const auto middle = sorted_.begin() + static_cast<std::ptrdiff_t>(sorted_.size() / 2);
    std::ranges::nth_element(sorted_, middle);
    return std::max(*middle, 1e-3F);
}

double BreakScores::mean(std::size_t unit) const {
    return votes_ > 0 ? sum_[unit] / static_cast<double>(votes_) : 0;
}

std::optional<BreakScores::Best> BreakScores::best() const {
    if (votes_ < kMinVotes) {
        return std::nullopt;
    }
    const auto votes = static_cast<double>(votes_);
    const auto variance = [&](std::size_t i) { return squares_[i] - sum_[i] * sum_[i] / votes; };
    Best best;
    best.unit = static_cast<std::size_t>(std::ranges::max_element(sum_) - sum_.begin());
    best.distance = kMaxVote * votes;
    for (std::size_t i = 0; i < units_; i += per_group_) {
        if (i == best.unit) {
            continue;
        }
        // A quarter of a vote, so that rows that all vote alike do not make a distance boundless.
        const double deviation = std::sqrt(variance(best.unit) + variance(i) + votes / 4);
        const double distance = (sum_[best.unit] - sum_[i]) / deviation;
        if (distance < best.distance) {
            best.distance = distance;
            best.second = i;
        }
    }
    return best;
}

/// The difference of neighbours that are wholly on one side of a break, so many units from it.
double BreakScores::slope(std::size_t unit, std::size_t distance, bool left) const {
    if (!left) {
        return slopes_[(unit + distance) % units_];
    }
    const std::size_t last = unit + 2 * units_ - 1 - distance;
    return cells_ ? right_slopes_[last % units_] : slopes_[(last - step_) % units_];
}

double BreakScores::steepness(std::size_t unit) const {
    constexpr std::size_t kFrom = 6;
    constexpr std::size_t kTo = 20;
    double steepest = 0;
    for (const bool left : {true, false}) {
        double away = 0;
        for (std::size_t i = kFrom; i < kTo; ++i) {
            away += slope(unit, i, left) / static_cast<double>(kTo - kFrom);
        }
        const double beside = std::max(slope(unit, 0, left), slope(unit, 1, left));
        steepest = std::max(steepest, away > 0 ? beside / away : 0);
    }
    return steepest;
}

} // namespace raw_mend
