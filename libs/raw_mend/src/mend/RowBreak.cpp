#include "mend/RowBreak.h"

#include "locate/Sectors.h"
#include "mend/RowReader.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::size_t kStep = 16;   ///< Samples from one sum to the next.
constexpr double kDoubtFactor = 4;  ///< Standard deviations by which a place must be worse.
constexpr double kMostOfMean = 1.5; ///< Rows may differ so many times as much as they do in the mean.
constexpr double kMissing = 65536;  ///< The difference of samples that are not in the file.

/// The sums of how samples differ from those above them, from the first row of a range on.
class Differences {
  public:
    void reserve(std::size_t count) { sums_.reserve(count + 1); }

    void add(double difference) { sums_.push_back(sums_.back() + difference); }

    /// Of the samples [from, to), counted from the first row.
    [[nodiscard]] double between(std::uint64_t from, std::uint64_t to) const {
        return to > from ? sum_to(to) - sum_to(from) : 0;
    }

  private:
    [[nodiscard]] double sum_to(std::uint64_t sample) const {
        const auto whole = static_cast<std::size_t>(sample / kStep);
        if (whole + 1 >= sums_.size()) {
            return sums_.back();
        }
        const double part = static_cast<double>(sample % kStep) / kStep;
        return sums_[whole] + part * (sums_[whole + 1] - sums_[whole]);
    }

    std::vector<double> sums_{0};
};

/// Rows at one offset, and those above them of the same colours.
class RowWindow {
  public:
    RowWindow(const TornRows& torn, std::int64_t start)
        : reader_(torn.file, torn.geometry, start), period_(torn.geometry.cfa_period) {}

    [[nodiscard]] std::size_t width() const { return reader_.width(); }

    /// The row, or nothing. Rows must be asked for in ascending order.
    const std::vector<float>* row(std::uint64_t row) {
        Kept& kept = kept_[row % kKept];
        if (kept.row != row) {
            kept.row = row;
            kept.is_there = reader_.has(row);
            if (kept.is_there) {
                reader_.read(row, kept.samples);
            }
        }
        return kept.is_there ? &kept.samples : nullptr;
    }

    const std::vector<float>* above(std::uint64_t row) {
        return row < period_ ? nullptr : this->row(row - period_);
    }

  private:
    static constexpr std::size_t kKept = 4;
    struct Kept {
        std::uint64_t row = ~std::uint64_t{0};
        bool is_there = false;
        std::vector<float> samples;
    };
    RowReader reader_;
    std::uint64_t period_;
    Kept kept_[kKept];
};

void add_row(const std::vector<float>* lower, const std::vector<float>* upper, std::size_t width,
             Differences& sums) {
    for (std::size_t at = 0; at < width; at += kStep) {
        const std::size_t end = std::min(at + kStep, width);
        float sum = 0;
        for (std::size_t i = at; lower != nullptr && upper != nullptr && i < end; ++i) {
            sum += std::abs((*lower)[i] - (*upper)[i]);
        }
        sums.add(lower == nullptr || upper == nullptr ? kMissing * static_cast<double>(end - at) : sum);
    }
}

class BreakSearch {
  public:
    BreakSearch(const TornRows& torn, std::uint64_t first, std::uint64_t last)
        : torn_(torn), geometry_(torn.geometry), first_(std::max<std::uint64_t>(first, geometry_.cfa_period)),
          last_(std::min(last, geometry_.rows)), lost_(torn.front > torn.back ? distance(torn) : 0) {}

    std::optional<RowBreak> find(std::span<const std::uint64_t> origins) {
        if (first_ + geometry_.cfa_period >= last_) {
            return std::nullopt;
        }
        measure();
        add_places(origins);
        return places_.empty() ? std::nullopt : choose();
    }

  private:
    struct Place {
        std::uint64_t at = 0;
        double cost = 0;
    };

    static std::uint64_t distance(const TornRows& torn) {
        return static_cast<std::uint64_t>(std::abs(torn.front - torn.back));
    }

    void measure() {
        RowWindow front(torn_, torn_.front);
        RowWindow back(torn_, torn_.back);
        width_ = front.width();
        padded_ = (width_ + kStep - 1) / kStep * kStep;
        for (std::uint64_t row = first_; row < last_; ++row) {
            const auto* const front_above = front.above(row);
            const auto* const back_above = back.above(row);
            add_row(front.row(row), front_above, width_, front_);
            add_row(back.row(row), back_above, width_, back_);
            add_row(back.row(row), front_above, width_, across_);
        }
    }

    void add_places(std::span<const std::uint64_t> origins) {
        const std::uint64_t begin = first_ * geometry_.row_bytes;
        const std::uint64_t end = last_ * geometry_.row_bytes;
        if (end < begin + lost_) {
            return;
        }
        const std::uint64_t most = end - lost_;
        places_.push_back({begin, cost(begin)});
        for (const std::uint64_t origin : origins) {
            const auto offset = static_cast<std::uint64_t>(torn_.front + static_cast<std::int64_t>(begin));
            const std::uint64_t skipped = (kSectorBytes - (offset - origin) % kSectorBytes) % kSectorBytes;
            for (std::uint64_t at = begin + skipped; at <= most; at += kSectorBytes) {
                places_.push_back({at, cost(at)});
            }
        }
        if (distance(torn_) % kSectorBytes != 0) {
            refine(begin, most);
        }
    }

    /// Adds all places around the best one.
    void refine(std::uint64_t begin, std::uint64_t most) {
        const std::uint64_t best = std::ranges::min_element(places_, {}, &Place::cost)->at;
        const std::uint64_t last = std::min(best + kSectorBytes, most);
        for (std::uint64_t at = std::max(best, begin + kSectorBytes) - kSectorBytes; at <= last; ++at) {
            places_.push_back({at, cost(at)});
        }
    }

    /// The sample of the padded rows at a byte of the image.
    [[nodiscard]] std::uint64_t sample_at(std::uint64_t byte) const {
        const std::uint64_t row = byte / geometry_.row_bytes;
        return row < first_
                   ? 0
                   : (row - first_) * padded_ + RowReader::sample_at(geometry_, byte % geometry_.row_bytes);
    }

    [[nodiscard]] double cost(std::uint64_t at) const {
        const std::uint64_t back = at + lost_;
        const std::uint64_t below = at + geometry_.cfa_period * geometry_.row_bytes;
        const std::uint64_t end = sample_at(last_ * geometry_.row_bytes);
        return front_.between(0, sample_at(at)) +
               across_.between(sample_at(back), std::min(sample_at(below), end)) +
               back_.between(sample_at(below + lost_), end);
    }

    /// A difference that is due to chance, between places so many samples apart.
    [[nodiscard]] double deviation(std::uint64_t samples, double mean) const {
        constexpr double kCorrelation = 2; // Neighbours do not differ independently.
        return kCorrelation * mean * std::sqrt(static_cast<double>(std::max<std::uint64_t>(samples, 1)));
    }

    /// What one sample differs by, as most do.
    [[nodiscard]] double mean_of(double cost) const {
        const std::uint64_t samples = sample_at(last_ * geometry_.row_bytes);
        return std::max(cost / static_cast<double>(std::max<std::uint64_t>(samples, 1)), 0.25);
    }

    /// Where rows are lost, the first ones after them are compared with none. So a place seems good where the
    /// picture changes at once: good places are those that are much better than most.
    [[nodiscard]] double median_cost() const {
        std::vector<double> costs;
        std::ranges::transform(places_, std::back_inserter(costs), &Place::cost);
        const auto middle = costs.begin() + static_cast<std::ptrdiff_t>(costs.size() / 2);
        std::ranges::nth_element(costs, middle);
        return *middle;
    }

    /// If bytes of an image are lost, what is before it would be its first rows by the back part. By how much
    /// these differ too much, in standard deviations. Nothing is known if the search begins farther down.
    [[nodiscard]] double gain_at_begin(double mean) const {
        if (lost_ == 0 || first_ != geometry_.cfa_period) {
            return std::numeric_limits<double>::max();
        }
        const std::uint64_t end = sample_at(lost_ + 2 * first_ * geometry_.row_bytes);
        const double expected = kMostOfMean * mean * static_cast<double>(end);
        return (back_.between(0, end) - expected) / deviation(end, mean);
    }

    [[nodiscard]] std::optional<RowBreak> choose() const {
        const Place best = *std::ranges::min_element(places_, {}, &Place::cost);
        const double mean = mean_of(best.cost);
        const std::uint64_t burst = std::uint64_t{2} * geometry_.cfa_period * padded_;
        RowBreak result{best.at, {best.at, best.at}, 0};
        // Whole rows that are lost leave less of a trace than many edges of things in the picture.
        const double part = lost_ % geometry_.row_bytes == 0 ? 0.9 : 0.05;
        const double most = lost_ > 0 ? (median_cost() - best.cost) * part : 0;
        for (const Place& place : places_) {
            const std::uint64_t apart = 2 * (std::max(sample_at(place.at), sample_at(best.at)) -
                                             std::min(sample_at(place.at), sample_at(best.at)));
            const double least = kDoubtFactor * deviation(std::min(apart, burst), mean);
            if (place.cost - best.cost <= std::max(most, least)) {
                result.possible.begin = std::min(result.possible.begin, place.at);
                result.possible.end = std::max(result.possible.end, place.at);
            }
        }
        const std::uint64_t end = sample_at(last_ * geometry_.row_bytes);
        const double unbroken = std::min(front_.between(0, end), back_.between(0, end));
        result.gain = std::min((unbroken - best.cost) / deviation(burst, mean), gain_at_begin(mean));
        return result;
    }

    const TornRows& torn_;
    const RowGeometry& geometry_;
    std::uint64_t first_;
    std::uint64_t last_;
    std::uint64_t lost_;
    std::size_t width_ = 0;
    std::size_t padded_ = 0;
    Differences front_;
    Differences back_;
    Differences across_;
    std::vector<Place> places_;
};

} // namespace

std::optional<RowBreak> find_row_break(const TornRows& torn, std::uint64_t first, std::uint64_t last,
                                       std::span<const std::uint64_t> origins) {
    return BreakSearch(torn, first, last).find(origins);
}

} // namespace raw_mend
