#include "mend/RowPath.h"

#include "locate/Sectors.h"
#include "mend/RowBreak.h"
#include "mend/RowReader.h"
#include "mend/RowTears.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <span>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::uint64_t kLargestCluster = 131072; ///< Of exFAT, on cards.
constexpr std::size_t kMostStarts = 9;
constexpr std::size_t kMostTears = 48; ///< The clearest ones are compared.
constexpr double kMostMisfit = 40;     ///< Standard deviations: edges of things in the picture differ more.
constexpr double kNever = std::numeric_limits<double>::infinity();

/// Costs are in standard deviations.
class PathSearch {
  public:
    PathSearch(Bytes file, const RowGeometry& geometry, std::span<const std::int64_t> starts)
        : file_(file), geometry_(geometry), starts_(starts),
          samples_(geometry.cfa_period * RowReader(file, geometry, 0).width()) {
        find_tears();
        weigh_losses();
    }

    std::optional<RowPath> find() const {
        const std::vector<Costs> to = costs_to();
        const std::vector<Costs> from = costs_from();
        if (tears_.empty() || to.back().back() == kNever) {
            return std::nullopt;
        }
        RowPath path;
        std::size_t start = 0;
        for (std::size_t tear = 0; tear < tears_.size(); ++tear) {
            const std::size_t next = best_after(tear, start, from[tear]);
            if (next != start && !is_shown(tear, start, next)) {
                return std::nullopt;
            }
            if (next != start) {
                path.steps.push_back({tears_[tear].before, tears_[tear].after, starts_[next]});
            }
            start = next;
            if (!is_clear(start, to[tear], from[tear])) {
                path.unclear.push_back(range_after(tear, start));
            }
        }
        return path.steps.size() < 2 ? std::nullopt : std::optional(std::move(path));
    }

  private:
    using Costs = std::vector<double>; ///< By start.

    /// What paths cost from the front up to each start after each tear.
    [[nodiscard]] std::vector<Costs> costs_to() const {
        std::vector<Costs> all;
        Costs costs(starts_.size(), kNever);
        costs.front() = 0;
        for (std::size_t tear = 0; tear < tears_.size(); ++tear) {
            Costs after(starts_.size(), kNever);
            for (std::size_t next = 0; next < starts_.size(); ++next) {
                for (std::size_t start = 0; start <= next; ++start) {
                    after[next] = std::min(after[next], costs[start] + cost(tear, start, next));
                }
            }
            costs = after;
            all.push_back(std::move(after));
        }
        return all;
    }

    /// What they cost from there to the back.
    [[nodiscard]] std::vector<Costs> costs_from() const {
        std::vector<Costs> all;
        Costs costs(starts_.size(), kNever);
        costs.back() = 0;
        for (std::size_t tear = tears_.size(); tear-- > 0;) {
            all.push_back(costs);
            Costs before(starts_.size(), kNever);
            for (std::size_t start = 0; start < starts_.size(); ++start) {
                for (std::size_t next = start; next < starts_.size(); ++next) {
                    before[start] = std::min(before[start], costs[next] + cost(tear, start, next));
                }
            }
            costs = std::move(before);
        }
        return {all.rbegin(), all.rend()};
    }

    /// Whether rows around a tear fit much better if this is lost than if nothing is.
    [[nodiscard]] bool is_shown(std::size_t tear, std::size_t start, std::size_t next) const {
        const double with_loss = misfits_[index_of(tear, start, next)];
        const double without = misfits_[index_of(tear, start, start)];
        return without - with_loss >= kLeastRowGain;
    }

    [[nodiscard]] std::size_t best_after(std::size_t tear, std::size_t start, const Costs& from) const {
        std::size_t best = start;
        for (std::size_t next = start; next < starts_.size(); ++next) {
            if (cost(tear, start, next) + from[next] < cost(tear, start, best) + from[best]) {
                best = next;
            }
        }
        return best;
    }

    /// Whether paths by other starts cost clearly more.
    [[nodiscard]] bool is_clear(std::size_t start, const Costs& to, const Costs& from) const {
        for (std::size_t other = 0; other < starts_.size(); ++other) {
            if (other != start && to[other] + from[other] < to[start] + from[start] + kLeastRowGain) {
                return false;
            }
        }
        return true;
    }

    /// The part of the image between a tear and the next, if it begins at a start.
    [[nodiscard]] ImageRange range_after(std::size_t tear, std::size_t start) const {
        const auto inside = [&](std::uint64_t offset) {
            const std::int64_t byte = static_cast<std::int64_t>(offset) - starts_[start];
            return std::min(static_cast<std::uint64_t>(std::max<std::int64_t>(byte, 0)),
                            geometry_.image_bytes());
        };
        const bool is_last = tear + 1 == tears_.size();
        return {inside(tears_[tear].before),
                is_last ? geometry_.image_bytes() : inside(tears_[tear + 1].after)};
    }

    /// What speaks against this loss at a tear, or against none there.
    [[nodiscard]] double cost(std::size_t tear, std::size_t start, std::size_t next) const {
        return costs_[index_of(tear, start, next)] + (start == next ? 0 : kLeastRowGain);
    }

    [[nodiscard]] std::size_t index_of(std::size_t tear, std::size_t start, std::size_t next) const {
        return (tear * starts_.size() + start) * starts_.size() + (next - start);
    }

    void find_tears() {
        for (const std::int64_t start : starts_) {
            const std::int64_t group = geometry_.group_bytes();
            const bool is_new = std::ranges::none_of(
                alignments_, [&](std::int64_t other) { return (other - start) % group == 0; });
            if (is_new) {
                alignments_.push_back(start);
            }
        }
        tears_ = find_row_tears(file_, geometry_, alignments_);
        std::ranges::sort(tears_, std::greater<>(), &RowTear::excess);
        tears_.resize(std::min(tears_.size(), kMostTears));
        std::ranges::sort(tears_, {}, &RowTear::before);
    }

    /// By how much the rows around each tear fit worse for each loss than for the best. Edges of things in
    /// the picture fit for none.
    void weigh_losses() {
        for (const RowTear& tear : tears_) {
            for (const std::int64_t start : starts_) {
                Costs misfits;
                for (const std::int64_t other : starts_) {
                    misfits.push_back(misfit(tear, start, start + (other - starts_.front())));
                }
                const double least = std::ranges::min(misfits);
                for (std::size_t nth = 0; nth < starts_.size(); ++nth) {
                    const std::int64_t next = start + (starts_[nth] - starts_.front());
                    misfits_.push_back(misfits[nth]);
                    costs_.push_back(misfits[nth] - least +
                                     misalignment(tear, start, &PathSearch::rows_before) +
                                     misalignment(tear, next, &PathSearch::rows_after));
                }
            }
        }
    }

    /// A row of the image, if that begins at an offset.
    struct Row {
        std::int64_t start = 0;
        std::int64_t row = 0;

        Row operator+(std::int64_t rows) const { return {start, row + rows}; }
        Row operator-(std::int64_t rows) const { return {start, row - rows}; }
    };

    /// By how much the first rows after a tear differ too much from the last ones before it of their colours,
    /// if the image begins at one offset by what is before and at another by what is after: more than rows so
    /// far apart do on either side.
    double misfit(const RowTear& tear, std::int64_t start, std::int64_t next) {
        const Row above = last_before(tear, start);
        Row below = first_after(tear, next);
        if ((below.row - above.row) % static_cast<std::int64_t>(geometry_.cfa_period) != 0) {
            below = below + 1;
        }
        const std::optional<double> across = difference(above, below);
        const std::optional<double> usual = usual_difference(tear, below.row - above.row);
        return across && usual
                   ? std::clamp((*across - *usual) / deviation_of_rows(*usual, samples_), 0.0, kMostMisfit)
                   : 0;
    }

    [[nodiscard]] Row last_before(const RowTear& tear, std::int64_t start) const {
        const auto row = static_cast<std::int64_t>(geometry_.row_bytes);
        return {start, (static_cast<std::int64_t>(tear.before) - start) / row - 1};
    }

    [[nodiscard]] Row first_after(const RowTear& tear, std::int64_t start) const {
        const auto row = static_cast<std::int64_t>(geometry_.row_bytes);
        return {start, (static_cast<std::int64_t>(tear.after) - start + row - 1) / row};
    }

    /// Of rows so far apart before a tear and after it, where groups of samples begin so that they differ
    /// least.
    std::optional<double> usual_difference(const RowTear& tear, std::int64_t apart) {
        const double before = least_difference(tear, apart, &PathSearch::rows_before);
        const double after = least_difference(tear, apart, &PathSearch::rows_after);
        if (before == kNever || after == kNever) {
            const double one = std::min(before, after);
            return one == kNever ? std::nullopt : std::optional(one);
        }
        return (before + after) / 2;
    }

    /// Two rows so far apart on one side of a tear, if the image begins at an offset there.
    using Side = std::pair<Row, Row> (PathSearch::*)(const RowTear&, std::int64_t start,
                                                     std::int64_t apart) const;

    [[nodiscard]] std::pair<Row, Row> rows_before(const RowTear& tear, std::int64_t start,
                                                  std::int64_t apart) const {
        const Row last = last_before(tear, start) - beside();
        return {last - apart, last};
    }

    [[nodiscard]] std::pair<Row, Row> rows_after(const RowTear& tear, std::int64_t start,
                                                 std::int64_t apart) const {
        const Row first = first_after(tear, start) + beside();
        return {first, first + apart};
    }

    [[nodiscard]] std::int64_t beside() const { return static_cast<std::int64_t>(geometry_.cfa_period) - 1; }

    double least_difference(const RowTear& tear, std::int64_t apart, Side side) {
        double least = kNever;
        for (const std::int64_t start : alignments_) {
            const auto [above, below] = (this->*side)(tear, start, apart);
            least = std::min(least, difference(above, below).value_or(kNever));
        }
        return least;
    }

    /// By how much rows on one side of a tear differ too much because groups of samples begin elsewhere.
    double misalignment(const RowTear& tear, std::int64_t start, Side side) {
        if (alignments_.size() == 1) {
            return 0;
        }
        const auto apart = static_cast<std::int64_t>(geometry_.cfa_period);
        const double least = least_difference(tear, apart, side);
        const auto [above, below] = (this->*side)(tear, start, apart);
        const std::optional<double> sum = difference(above, below);
        return !sum || least == kNever
                   ? 0
                   : std::clamp((*sum - least) / deviation_of_rows(least, samples_), 0.0, kMostMisfit);
    }

    /// Of two rows and those beside them, which are of the other colours: away from one another. Nothing if
    /// one of them is not in the file.
    std::optional<double> difference(const Row& above, const Row& below) {
        double sum = 0;
        for (std::int64_t nth = 0; nth < static_cast<std::int64_t>(geometry_.cfa_period); ++nth) {
            if (!read({above.start, above.row - nth}, above_) ||
                !read({below.start, below.row + nth}, below_)) {
                return std::nullopt;
            }
            sum += difference_of_rows(above_, below_);
        }
        return sum;
    }

    bool read(const Row& row, std::vector<float>& samples) const {
        RowReader reader(file_, geometry_, row.start);
        const auto nth = static_cast<std::uint64_t>(row.row);
        if (row.row < 0 || nth >= geometry_.rows || !reader.has(nth)) {
            return false;
        }
        reader.read(nth, samples);
        return true;
    }

    Bytes file_;
    const RowGeometry& geometry_;
    std::span<const std::int64_t> starts_;
    std::vector<RowTear> tears_;
    std::vector<double> misfits_;          // By tear, start, and clusters lost.
    std::vector<double> costs_;            // The same, from the least one of a start on.
    std::vector<std::int64_t> alignments_; // A start for each at which groups of samples begin.
    std::vector<float> above_;
    std::vector<float> below_;
    std::size_t samples_; // Of rows that are compared.
};

/// Whether rows show which of them is right: those that differ by whole rows look the same.
bool are_distinct(std::span<const std::int64_t> starts, std::int64_t row_bytes) {
    std::vector<std::int64_t> phases;
    std::ranges::transform(starts, std::back_inserter(phases),
                           [&](std::int64_t start) { return (start % row_bytes + row_bytes) % row_bytes; });
    std::ranges::sort(phases);
    return std::ranges::adjacent_find(phases) == phases.end();
}

/// From the front to the back, one for each number of clusters that may be lost; none if there are too many.
/// Clusters are as small as possible, so that larger ones are among them.
std::vector<std::int64_t> possible_starts(std::int64_t front, std::int64_t back) {
    const auto lost = static_cast<std::uint64_t>(front - back);
    std::uint64_t cluster = lost % kClusterBytes == 0 ? kClusterBytes : kSectorBytes;
    while (lost / cluster >= kMostStarts) {
        cluster *= 2;
    }
    std::vector<std::int64_t> starts;
    if (lost % cluster == 0 && cluster <= kLargestCluster) {
        for (std::uint64_t nth = 0; nth <= lost / cluster; ++nth) {
            starts.push_back(front - static_cast<std::int64_t>(nth * cluster));
        }
    }
    return starts;
}

} // namespace

std::optional<RowPath> find_row_path(Bytes file, const RowGeometry& geometry, std::int64_t front,
                                     std::int64_t back) {
    if (back >= front) {
        return std::nullopt;
    }
    const std::vector<std::int64_t> starts = possible_starts(front, back);
    if (starts.size() < 3 || !are_distinct(starts, static_cast<std::int64_t>(geometry.row_bytes))) {
        return std::nullopt;
    }
    return PathSearch(file, geometry, starts).find();
}

} // namespace raw_mend
