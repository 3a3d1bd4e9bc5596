#include "mend/RowClusters.h"

#include "locate/Sectors.h"
#include "mend/RowDifferences.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace raw_mend {

namespace {

constexpr double kForeign = 2.5;            ///< Times the difference that the surroundings have.
constexpr double kForeignInRow = 4;         ///< The same in a cluster that is shorter than a row.
constexpr double kEdge = 1.6;               ///< Likewise, in its first and its last sector.
constexpr double kBeside = 1.25;            ///< Likewise: at most, in the sectors beside it.
constexpr double kOwn = 1.6;                ///< Likewise: at most, beside a cluster.
constexpr double kLeastForeignShare = 0.75; ///< Of the chunks that must differ, those that do.
constexpr std::uint64_t kMostSmooth = std::uint64_t{1} << 16U; ///< Bytes of rows that fit one another.
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 20U;
constexpr std::size_t kMostEnds = 64; ///< That are tried for one start.

/// A cluster that may be foreign.
struct Candidate {
    ImageRange range;
    double weight = 0;
};

/// How chunks differ from those on one side of them, and how they may.
struct Misfit {
    double sum = 0;
    double allowed = 0;
    std::size_t chunks = 0;
    std::size_t foreign = 0;

    [[nodiscard]] double ratio() const { return sum / allowed; }
    [[nodiscard]] double excess() const { return sum - allowed; }
    [[nodiscard]] double share() const {
        return chunks == 0 ? 0 : static_cast<double>(foreign) / static_cast<double>(chunks);
    }
    [[nodiscard]] bool is_over(double limit) const { return chunks > 0 && ratio() > limit; }
    [[nodiscard]] bool is_own() const { return chunks > 0 && ratio() <= kOwn; }
};

class ClusterSearch {
  public:
    ClusterSearch(Bytes image, const RowGeometry& geometry)
        : differences_(image, geometry), size_(image.size()), row_(differences_.row()),
          period_(differences_.period()),
          sector_(
              std::max<std::size_t>(1, static_cast<std::size_t>(kSectorBytes * row_ / geometry.row_bytes))),
          allowed_above_(differences_.size()), allowed_below_(differences_.size()) {
        const auto vertical = differences_.verticals();
        const auto horizontal = differences_.horizontals();
        if (const std::size_t first = begin_of_above(); first < differences_.size()) {
            allow(vertical.subspan(first - row_ - 1), horizontal.subspan(first - period_),
                  std::span(allowed_above_).subspan(first));
        }
        if (const std::size_t last = end_of_below(); last > 1) {
            allow(vertical.subspan(period_ + row_), horizontal.subspan(1 + period_),
                  std::span(allowed_below_).subspan(1, last - 1));
        }
    }

    void add(std::uint64_t origin) {
        std::vector<std::uint64_t> ends;
        std::vector<std::uint64_t> starts;
        for (std::uint64_t at = origin % kSectorBytes; at <= size_; at += kSectorBytes) {
            const std::size_t chunk = differences_.chunk_of(at);
            if (is_start(chunk)) {
                starts.push_back(at);
            }
            if (is_end(chunk)) {
                ends.push_back(at);
            }
        }
        for (const std::uint64_t start : starts) {
            Start known;
            auto end = std::ranges::upper_bound(ends, start);
            for (std::size_t tried = 0; tried < kMostEnds && end != ends.end() && *end - start <= kMostBytes;
                 ++tried, ++end) {
                judge({start, *end}, known);
            }
        }
    }

    /// Whether the first rows of a range fit those above them, and its last rows those below.
    [[nodiscard]] bool fits(const ImageRange& range) const {
        const std::size_t begin = differences_.chunk_of(range.begin);
        const std::size_t end = differences_.chunk_of(range.end);
        return above(begin + 1, std::min(end, begin + period_), begin).is_own() &&
               below(std::max(begin + 1, end - std::min(end, period_)), end, end).is_own();
    }

    /// Those that differ most, apart.
    std::vector<ImageRange> take() {
        std::ranges::sort(candidates_, std::ranges::greater(), &Candidate::weight);
        std::vector<ImageRange> chosen;
        for (const Candidate& candidate : candidates_) {
            const bool is_apart = std::ranges::none_of(chosen, [&](const ImageRange& other) {
                return candidate.range.begin < other.end && other.begin < candidate.range.end;
            });
            if (is_apart) {
                chosen.push_back(candidate.range);
            }
        }
        std::ranges::sort(chosen, {}, &ImageRange::begin);
        return chosen;
    }

  private:
    /// What chunks that are outside may differ by: at least a bit, so that flat surroundings need not be
    /// without any noise.
    [[nodiscard]] float floor() const { return 0.5F + differences_.median() / 2; }

    /// What chunks side by side may differ by. The chunks outside are given with one more on either side.
    void allow(std::span<const float> outside, std::span<const float> beside,
               std::span<float> allowed) const {
        const float least = floor();
        for (std::size_t i = 0; i < allowed.size(); ++i) {
            const float around = (outside[i] + outside[i + 2]) / 2;
            allowed[i] = std::max(std::max(least, outside[i + 1]), std::max(around, beside[i]));
        }
    }

    /// What a chunk may differ by, if one outside and one of its colours differ as they do.
    [[nodiscard]] float allowed(std::size_t outside, std::size_t beside) const {
        const float around = (differences_.vertical(outside - 1) + differences_.vertical(outside + 1)) / 2;
        return std::max(std::max(floor(), differences_.vertical(outside)),
                        std::max(around, differences_.horizontal(beside)));
    }

    /// The first chunk that has enough rows above it, and the end of those that have enough below.
    [[nodiscard]] std::size_t begin_of_above() const { return 2 * period_ + 1; }
    [[nodiscard]] std::size_t end_of_below() const {
        return differences_.size() - std::min(differences_.size(), 2 * period_ + 1);
    }

    /// The misfit of the chunks [begin, end) with those above them. The surroundings are the rows above a
    /// cluster that begins at some chunk.
    [[nodiscard]] Misfit above(std::size_t begin, std::size_t end, std::size_t cluster) const {
        Misfit misfit;
        for (std::size_t i = std::max(begin, begin_of_above()); i < std::min(end, differences_.size()); ++i) {
            const bool is_beside = i < cluster + row_;
            count(differences_.vertical(i), is_beside ? allowed_above_[i] : allowed(i - period_, i - period_),
                  misfit);
        }
        return misfit;
    }

    /// The same with those below; the surroundings are the rows below a cluster that ends at some chunk.
    [[nodiscard]] Misfit below(std::size_t begin, std::size_t end, std::size_t cluster) const {
        Misfit misfit;
        for (std::size_t i = begin; i < std::min(end, end_of_below()); ++i) {
            const bool is_beside = i + row_ >= cluster;
            count(differences_.vertical(i + period_),
                  is_beside ? allowed_below_[i] : allowed(i + 2 * period_, i + period_), misfit);
        }
        return misfit;
    }

    static void count(double difference, double allowed, Misfit& misfit) {
        misfit.sum += difference;
        misfit.allowed += allowed;
        misfit.foreign += difference > kOwn * allowed ? 1 : 0;
        ++misfit.chunks;
    }

    /// Whether the chunks [begin, end) differ by more than so many times what is allowed from those above
    /// them, the rows directly above them being outside.
    [[nodiscard]] bool differs_above(std::size_t begin, std::size_t end, double limit) const {
        double sum = 0;
        double allowed = 0;
        for (std::size_t i = std::max(begin, begin_of_above()); i < std::min(end, differences_.size()); ++i) {
            sum += differences_.vertical(i);
            allowed += allowed_above_[i];
        }
        return sum > limit * allowed;
    }

    /// The same with those below.
    [[nodiscard]] bool differs_below(std::size_t begin, std::size_t end, double limit) const {
        double sum = 0;
        double allowed = 0;
        for (std::size_t i = begin; i < std::min(end, end_of_below()); ++i) {
            sum += differences_.vertical(i + period_);
            allowed += allowed_below_[i];
        }
        return sum > limit * allowed;
    }

    /// Whether the first sector of a cluster that begins at a chunk differs, and the last of one that ends
    /// there.
    [[nodiscard]] bool has_start(std::size_t chunk, double limit) const {
        return differs_above(chunk + 1, chunk + sector_, limit);
    }
    [[nodiscard]] bool has_end(std::size_t chunk, double limit) const {
        return differs_below(chunk - sector_, chunk, limit);
    }

    [[nodiscard]] bool is_start(std::size_t chunk) const {
        return chunk >= sector_ && has_start(chunk, kEdge) && !differs_above(chunk - sector_, chunk, kBeside);
    }

    [[nodiscard]] bool is_end(std::size_t chunk) const {
        return chunk >= sector_ && has_end(chunk, kEdge) &&
               !differs_below(chunk + 1, chunk + sector_, kBeside);
    }

    /// What is the same for all ends of clusters with one start, once it is known.
    struct Start {
        std::optional<bool> is_clear;
        std::optional<Misfit> first; ///< Of a whole period.
    };

    [[nodiscard]] Misfit first_of(std::size_t begin, std::size_t end, Start& start) const {
        if (end - begin < period_) {
            return above(begin + 1, end, begin);
        }
        if (!start.first) {
            start.first = above(begin + 1, begin + period_, begin);
        }
        return *start.first;
    }

    /// What takes longest comes last.
    void judge(const ImageRange& range, Start& start) {
        const std::size_t begin = differences_.chunk_of(range.begin);
        const std::size_t end = differences_.chunk_of(range.end);
        if (!has_clear_ends(begin, end, start)) {
            return;
        }
        const bool is_short = end - begin < row_;
        const double least = is_short ? kForeignInRow : kForeign;
        const auto is_foreign = [least](const Misfit& misfit) {
            return misfit.is_over(least) && misfit.share() >= kLeastForeignShare;
        };
        const Misfit first = first_of(begin, end, start);
        if (!is_foreign(first)) {
            return;
        }
        const Misfit last = below(std::max(begin + 1, end - std::min(end, period_)), end, end);
        if (is_foreign(last) && (!is_short || is_between_own(begin, end)) &&
            (range.length() <= kMostSmooth || is_rough(begin, end))) {
            candidates_.push_back({range, weigh(range, first, last)});
        }
    }

    [[nodiscard]] bool has_clear_ends(std::size_t begin, std::size_t end, Start& start) const {
        if (!start.is_clear) {
            start.is_clear = has_start(begin, kForeign);
        }
        const bool has_clear_start = *start.is_clear;
        const bool needs_both = end - begin < period_;
        return has_clear_start != needs_both ? has_clear_start : has_end(end, kForeign);
    }

    /// Whether the rows of a long cluster differ from one another as much as from those around it: noise, or
    /// other data than samples. Else it is more likely a part of the image between two clusters.
    [[nodiscard]] bool is_rough(std::size_t begin, std::size_t end) const {
        double inside = 0;
        for (std::size_t i = begin; i < end; ++i) {
            inside += differences_.vertical(i) / static_cast<double>(end - begin);
        }
        return inside > kForeignInRow * floor();
    }

    /// The more for a shorter range: else two clusters with a part of the image between them would be one.
    static double weigh(const ImageRange& range, const Misfit& first, const Misfit& last) {
        constexpr double kShareWeight = 8;
        return std::min(first.excess(), last.excess()) *
               std::pow(first.share() * last.share(), kShareWeight) /
               std::sqrt(static_cast<double>(range.length()));
    }

    /// Whether the rows directly above and below a cluster, of other colours, belong to the image: what a
    /// lens shows is never one row high.
    [[nodiscard]] bool is_between_own(std::size_t begin, std::size_t end) const {
        const std::size_t length = std::min(end - begin, row_);
        const std::size_t top = begin - std::min(begin, row_);
        const std::size_t bottom = end + row_ - length;
        return above(top, top + length, top).is_own() &&
               below(bottom, bottom + length, bottom + length).is_own();
    }

    RowDifferences differences_;
    std::uint64_t size_;
    std::size_t row_;
    std::size_t period_;
    std::size_t sector_;               ///< Chunks of a sector, cut.
    std::vector<float> allowed_above_; ///< By chunk, with the row above it outside.
    std::vector<float> allowed_below_; ///< The same with the row below.
    std::vector<Candidate> candidates_;
};

} // namespace

std::vector<ImageRange> find_foreign_clusters(Bytes image, const RowGeometry& geometry,
                                              std::span<const std::uint64_t> origins) {
    ClusterSearch search(image, geometry);
    for (const std::uint64_t origin : origins) {
        search.add(origin);
    }
    return search.take();
}

bool fits_in_rows(Bytes image, const RowGeometry& geometry, const ImageRange& range) {
    constexpr std::uint64_t kRowsAround = 8;
    const std::uint64_t first = range.begin / geometry.row_bytes;
    const std::uint64_t top = first - std::min(first, kRowsAround);
    const std::uint64_t last = (range.end + geometry.row_bytes - 1) / geometry.row_bytes;
    RowGeometry around = geometry;
    around.rows = std::min(last + kRowsAround, geometry.rows) - top;
    const std::uint64_t begin = top * geometry.row_bytes;
    const Bytes bytes =
        image.subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(around.image_bytes()));
    return ClusterSearch(bytes, around).fits({range.begin - begin, range.end - begin});
}

} // namespace raw_mend
