#include "mend/StreamSides.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::ptrdiff_t kMostMoved = 24;    // Rows of the stream, to both sides.
constexpr std::size_t kLeastRowsBeside = 48; // That two places are compared by.
constexpr std::size_t kEdgeValues = 3;       // Of each colour.
constexpr double kClearly = 30;              // Mean misfits; chance does not make a place that much worse.
constexpr std::size_t kRowKinds = 4;         // Two colours in each of two rows.

/// Rows of a slice at one of its edges: the brightness of both colours of each row there.
struct Edge {
    std::vector<std::array<double, 2>> rows;
    std::vector<RowState> states;
};

/// What remains of rows without the mean of those of their colours around them: what changes slowly says
/// little.
std::vector<std::array<double, 2>> flatten(const std::vector<std::array<double, 2>>& rows) {
    constexpr std::size_t kAround = 12; // Rows to both sides, an even number.
    std::vector<std::array<double, 2>> flat(rows.size());
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const std::size_t first = row - std::min(row, kAround) / 2 * 2;
        const std::size_t last = std::min(row + kAround + 1, rows.size());
        for (std::size_t colour = 0; colour < 2; ++colour) {
            double sum = 0;
            double count = 0;
            for (std::size_t other = first; other < last; other += 2) {
                sum += rows[other][colour];
                ++count;
            }
            flat[row][colour] = rows[row][colour] - sum / count;
        }
    }
    return flat;
}

Edge make_edge(const StreamFrame& frame, const StreamSlices& slices, std::span<const std::uint16_t> values,
               std::span<const RowState> states, std::size_t slice, bool is_right) {
    Edge edge;
    const std::size_t width = slices.width(slice);
    for (std::size_t row = 0; row < slices.height(); ++row) {
        std::array<double, 2> sums{};
        for (std::size_t nth = 0; nth < 2 * kEdgeValues; ++nth) {
            const std::size_t column = is_right ? width - 2 * kEdgeValues + nth : nth;
            sums[nth % 2] += signed_value(values[slices.at(slice, column, row)]);
        }
        edge.rows.push_back(sums);
        const RowState first = states[slices.at(slice, 0, row) / frame.row];
        const RowState last = states[slices.at(slice, width - 1, row) / frame.row];
        edge.states.push_back(first == last ? first : RowState::kLost);
    }
    edge.rows = flatten(edge.rows);
    return edge;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// How far the rows of a run are from those beside them, apart from a step that all of a kind have; less than
/// 0 where there are none beside them.
class Misfits {
  public:
    void add(const Edge& run, const Edge& beside, std::ptrdiff_t moved) {
        std::array<std::vector<double>, kRowKinds> steps;
        std::vector<std::size_t> rows;
        for (std::size_t row = 0; row < run.rows.size(); ++row) {
            const auto other = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(row) + moved);
            if (run.states[row] == RowState::kRun && other < beside.rows.size() &&
                beside.states[other] == RowState::kKnown) {
                rows.push_back(row);
                for (std::size_t colour = 0; colour < 2; ++colour) {
                    steps[row % 2 * 2 + colour].push_back(run.rows[row][colour] - beside.rows[other][colour]);
                }
            }
        }
        const std::size_t begin = misfits_.size();
        misfits_.resize(begin + run.rows.size(), -1);
        if (std::ranges::any_of(steps, [](const auto& kind) { return kind.empty(); })) {
            return;
        }
        std::array<double, kRowKinds> usual{};
        std::ranges::transform(steps, usual.begin(), median);
        std::array<std::size_t, kRowKinds> nth{};
        for (const std::size_t row : rows) {
            double misfit = 0;
            for (std::size_t kind = row % 2 * 2; kind < row % 2 * 2 + 2; ++kind) {
                misfit += std::abs(steps[kind][nth[kind]++] - usual[kind]);
            }
            misfits_[begin + row] = misfit;
        }
    }

    [[nodiscard]] std::size_t size() const { return misfits_.size(); }
    [[nodiscard]] double operator[](std::size_t row) const { return misfits_[row]; }

    /// Rows that could be compared.
    [[nodiscard]] std::size_t count() const {
        return static_cast<std::size_t>(
            std::ranges::count_if(misfits_, [](double misfit) { return misfit >= 0; }));
    }

    /// Of those.
    [[nodiscard]] double mean() const {
        double sum = 0;
        for (const double misfit : misfits_) {
            sum += std::max(misfit, 0.0);
        }
        return sum / static_cast<double>(count());
    }

  private:
    std::vector<double> misfits_;
};

/// How much worse one place fits than the best: rows fit as well as the scale says where the run belongs,
/// each by itself.
double how_much_worse(const Misfits& one, const Misfits& best, double scale) {
    constexpr double kMost = 3; // Scales that one row counts.
    double sum = 0;
    for (std::size_t row = 0; row < best.size(); ++row) {
        if (best[row] >= 0 && one[row] >= 0) {
            sum += std::min(one[row] / scale, kMost) - std::min(best[row] / scale, kMost);
        }
    }
    return sum;
}

} // namespace

std::vector<SidePlace> compare_sides(const StreamFrame& frame, const StreamSlices& slices,
                                     std::span<const std::uint16_t> values,
                                     std::span<const RowState> states) {
    std::vector<Misfits> places(2 * kMostMoved + 1);
    for (std::size_t right = 1; right < slices.count(); ++right) {
        const std::size_t width = slices.width(right);
        if (frame.row % (2 * width) != 0 || slices.width(right - 1) != width) {
            return {}; // A row of the stream is no whole number of pairs of the slice's rows.
        }
        const auto rows = static_cast<std::ptrdiff_t>(frame.row / width);
        const Edge before = make_edge(frame, slices, values, states, right - 1, true);
        const Edge after = make_edge(frame, slices, values, states, right, false);
        for (std::ptrdiff_t moved = -kMostMoved; moved <= kMostMoved; ++moved) {
            Misfits& place = places[static_cast<std::size_t>(moved + kMostMoved)];
            place.add(before, after, moved * rows);
            place.add(after, before, moved * rows);
        }
    }
    std::vector<SidePlace> compared;
    const Misfits* best = nullptr;
    for (const Misfits& place : places) {
        const bool is_better =
            place.count() >= kLeastRowsBeside && (best == nullptr || place.mean() < best->mean());
        best = is_better ? &place : best;
    }
    for (auto place = places.begin(); place != places.end(); ++place) {
        if (place->count() >= kLeastRowsBeside) {
            compared.push_back({place - places.begin() - kMostMoved,
                                &*place == best ? 0 : how_much_worse(*place, *best, best->mean())});
        }
    }
    return compared;
}

std::optional<std::ptrdiff_t> find_place_by_sides(const StreamFrame& frame, const StreamSlices& slices,
                                                  std::span<const std::uint16_t> values,
                                                  std::span<const RowState> states) {
    const auto places = compare_sides(frame, slices, values, states);
    std::optional<std::ptrdiff_t> found;
    for (const SidePlace& place : places) {
        if (place.worse <= kClearly && found) {
            return std::nullopt;
        }
        found = place.worse <= kClearly ? std::optional(place.rows) : found;
    }
    return places.size() == 2 * kMostMoved + 1 ? found : std::nullopt;
}

} // namespace raw_mend
