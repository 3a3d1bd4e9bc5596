#include "locate/UnevenRows.h"

#include "locate/UnitReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <iterator>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMaxVotes = 96;
constexpr std::uint64_t kMinUnevenVotes = 8;
constexpr double kTie = 1e-2;         ///< Costs per vote that are the same.
constexpr std::uint64_t kMaxPart = 8; ///< Bytes that are the same in all rows: one in so many at most.

/// What it costs to read two rows, one a period below the other, as if rows began at each of their bytes: the
/// logarithm of how badly groups of samples fit.
class Costs {
  public:
    explicit Costs(const RowGeometry& geometry)
        : geometry_(geometry), row_bytes_(static_cast<std::size_t>(geometry.row_bytes)),
          group_(geometry.group_bytes()), sums_(row_bytes_), costs_(row_bytes_) {}

    /// Per phase. There must be one more row after the lower one.
    const std::vector<double>& of_rows(Bytes window, std::uint64_t row) {
        for (std::size_t alignment = 0; alignment < group_; ++alignment) {
            add_fit(window, row, alignment);
        }
        for (std::size_t at = group_; at < row_bytes_; ++at) {
            sums_[at] += sums_[at - group_];
        }
        for (std::size_t phase = 0; phase < row_bytes_; ++phase) {
            costs_[phase] = cost(phase);
        }
        return costs_;
    }

  private:
    /// The groups that begin at an alignment, each at its first byte.
    void add_fit(Bytes window, std::uint64_t row, std::size_t alignment) {
        const std::size_t groups = (row_bytes_ - alignment + group_ - 1) / group_;
        const std::size_t units = geometry_.group_units();
        const auto from = static_cast<std::size_t>(row * geometry_.row_bytes) + alignment;
        const std::size_t below = geometry_.cfa_period * row_bytes_;
        read_units(geometry_, window.subspan(from), groups * units, upper_);
        read_units(geometry_, window.subspan(from + below), groups * units, lower_);
        const double range = std::exp2(geometry_.bits) * static_cast<double>(units);
        for (std::size_t group = 0; group < groups; ++group) {
            double sum = 0;
            for (std::size_t i = group * units; i < (group + 1) * units; ++i) {
                sum += std::abs(upper_.first[i] - lower_.first[i]);
            }
            sums_[alignment + group * group_] = std::log((sum + 0.5) / range);
        }
    }

    /// The groups of a row that begins at the phase. Those past the end of the row that is read are at the
    /// same places of the next.
    [[nodiscard]] double cost(std::size_t phase) const {
        const std::size_t groups = row_bytes_ / group_;
        const std::size_t here = std::min((row_bytes_ - phase + group_ - 1) / group_, groups);
        double sum = sums_[phase + (here - 1) * group_] - (phase >= group_ ? sums_[phase - group_] : 0);
        if (here < groups) {
            const std::size_t first = phase + here * group_ - row_bytes_;
            sum +=
                sums_[first + (groups - here - 1) * group_] - (first >= group_ ? sums_[first - group_] : 0);
        }
        return sum;
    }

    const RowGeometry& geometry_;
    std::size_t row_bytes_;
    std::size_t group_;
    Units upper_;
    Units lower_;
    std::vector<double> sums_;
    std::vector<double> costs_;
};

/// The costs of some of the rows of all windows, per phase.
std::vector<std::vector<float>> votes_of(std::span<const Bytes> windows, const RowGeometry& geometry) {
    std::uint64_t all = 0;
    for (const Bytes window : windows) {
        all += window.size() / geometry.row_bytes;
    }
    const std::uint64_t step = geometry.cfa_period * (all / geometry.cfa_period / kMaxVotes + 1);
    Costs costs(geometry);
    std::vector<std::vector<float>> votes;
    for (const Bytes window : windows) {
        const std::uint64_t rows = window.size() / geometry.row_bytes;
        for (std::uint64_t row = 0; row + geometry.cfa_period + 1 < rows; row += step) {
            const std::vector<double>& vote = costs.of_rows(window, row);
            std::ranges::transform(vote, std::back_inserter(votes.emplace_back()),
                                   [](double cost) { return static_cast<float>(cost); });
        }
    }
    return votes;
}

/// How each phase compares with one of them.
struct Comparison {
    std::vector<double> sum;
    std::vector<double> squares;
};

Comparison compare(const std::vector<std::vector<float>>& votes, std::size_t best) {
    const std::size_t phases = votes.front().size();
    Comparison comparison{std::vector<double>(phases), std::vector<double>(phases)};
    for (const std::vector<float>& costs : votes) {
        for (std::size_t phase = 0; phase < phases; ++phase) {
            const double difference = double{costs[phase]} - double{costs[best]};
            comparison.sum[phase] += difference;
            comparison.squares[phase] += difference * difference;
        }
    }
    return comparison;
}

} // namespace

std::optional<UnevenPhase> find_uneven_phase(std::span<const Bytes> windows, const RowGeometry& geometry) {
    const std::vector<std::vector<float>> votes = votes_of(windows, geometry);
    if (votes.size() < kMinUnevenVotes) {
        return std::nullopt;
    }
    std::vector<double> sums(static_cast<std::size_t>(geometry.row_bytes));
    for (const std::vector<float>& costs : votes) {
        std::ranges::transform(sums, costs, sums.begin(), std::plus<>());
    }
    const auto least = static_cast<std::size_t>(std::ranges::min_element(sums) - sums.begin());
    const Comparison comparison = compare(votes, least);
    const auto count = static_cast<double>(votes.size());
    const std::size_t size = sums.size();
    const std::size_t group = geometry.group_bytes();
    const auto is_tie = [&](std::size_t phase) { return comparison.squares[phase] <= kTie * kTie * count; };

    // Bytes that are the same in all rows may be read either way: they are the end of the row.
    std::vector<bool> taken(size);
    std::size_t best = least;
    std::size_t ties = 0;
    while (is_tie((best + group) % size) && ties < size / group) {
        best = (best + group) % size;
        ++ties;
    }
    for (std::size_t at = best; is_tie(at) && !taken[at]; at = (at + size - group) % size) {
        taken[at] = true;
    }
    if (static_cast<std::uint64_t>(std::ranges::count(taken, true)) * group > size / kMaxPart + group) {
        return std::nullopt;
    }
    UnevenPhase found{best, kMaxVotes * count, 0, votes.size() * geometry.cfa_period};
    for (std::size_t phase = 0; phase < size; ++phase) {
        if (!taken[phase]) {
            const double spread =
                comparison.squares[phase] - comparison.sum[phase] * comparison.sum[phase] / count;
            const double distance = comparison.sum[phase] / std::sqrt(std::max(spread, 0.0) + count / 4);
            found.distance = std::min(found.distance, distance);
        }
    }
    const std::size_t groups = size / group;
    found.misfit = std::exp(sums[best] / count / static_cast<double>(groups));
    return found;
}

bool has_idle_ends(std::span<const Bytes> windows, const RowGeometry& geometry, std::uint64_t phase) {
    constexpr std::size_t kMostOthers = 64; // One row in so many may be damaged.
    const auto idle_bits = static_cast<unsigned>(geometry.row_bytes * 8 % geometry.bits);
    if (idle_bits == 0 || idle_bits > 8) {
        return false;
    }
    std::array<std::size_t, 256> counts{};
    std::size_t rows = 0;
    for (const Bytes window : windows) {
        for (std::uint64_t end = phase + geometry.row_bytes; end <= window.size();
             end += geometry.row_bytes) {
            const unsigned char last = window[static_cast<std::size_t>(end - 1)];
            const bool is_high_first = geometry.packing == Packing::kPackedHighFirst;
            ++counts[is_high_first ? last & ((1U << idle_bits) - 1) : last >> (8 - idle_bits)];
            ++rows;
        }
    }
    return rows > 0 && rows - *std::ranges::max_element(counts) <= rows / kMostOthers;
}

std::optional<std::uint64_t> settle_by_idle_ends(std::span<const Bytes> windows, const RowGeometry& geometry,
                                                 std::uint64_t phase) {
    constexpr std::uint64_t kReach = 8; // Groups on either side.
    if (has_idle_ends(windows, geometry, phase)) {
        return phase;
    }
    std::optional<std::uint64_t> only;
    const std::uint64_t reach = std::min(kReach * geometry.group_bytes(), geometry.row_bytes / 2);
    for (std::uint64_t at = geometry.row_bytes - reach / geometry.group_bytes() * geometry.group_bytes();
         at <= geometry.row_bytes + reach; at += geometry.group_bytes()) {
        const std::uint64_t other = (phase + at) % geometry.row_bytes;
        if (has_idle_ends(windows, geometry, other)) {
            if (only) {
                return std::nullopt;
            }
            only = other;
        }
    }
    return only;
}

} // namespace raw_mend
