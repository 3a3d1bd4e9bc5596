#include "judge/BlockFit.h"

#include "judge/Median.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace plate_mend::host {

namespace {

constexpr std::size_t kTerms = 4; ///< Three colours and a constant.
using Terms = std::array<double, kTerms>;

constexpr int kRounds = 8;              ///< Of a fit by least deviations.
constexpr std::size_t kNeighbours = 12; ///< A block's expected light is a median over so many parts of all.
constexpr double kScatters = 6;         ///< A block differs by more than so many times the scatter,
constexpr double kLevels = 14;          ///< and by more than so many levels,
constexpr double kContrasts = 0.6;      ///< or, if that is less, so many times the contrast.

Terms terms_of(const std::array<double, 3>& colours) {
    return {colours[0], colours[1], colours[2], 1};
}

double sum_of(const Terms& weights, const Terms& terms) {
    return std::inner_product(weights.begin(), weights.end(), terms.begin(), 0.0);
}

/// Solves a symmetric system by elimination; a vanishing pivot leaves its weight 0.
Terms solve(std::array<Terms, kTerms> matrix, Terms right) {
    for (std::size_t pivot = 0; pivot < kTerms; ++pivot) {
        if (std::abs(matrix[pivot][pivot]) < 1e-12) {
            continue;
        }
        for (std::size_t row = 0; row < kTerms; ++row) {
            const double share = row == pivot ? 0 : matrix[row][pivot] / matrix[pivot][pivot];
            for (std::size_t column = 0; column < kTerms; ++column) {
                matrix[row][column] -= share * matrix[pivot][column];
            }
            right[row] -= share * right[pivot];
        }
    }
    Terms weights{};
    for (std::size_t pivot = 0; pivot < kTerms; ++pivot) {
        weights[pivot] = std::abs(matrix[pivot][pivot]) < 1e-12 ? 0 : right[pivot] / matrix[pivot][pivot];
    }
    return weights;
}

double linear_light(double level) {
    return std::pow(level / 255, 2.2);
}

/// Values that come and go, for their median.
class SortedWindow {
  public:
    void add(double value) { sorted_.insert(std::upper_bound(sorted_.begin(), sorted_.end(), value), value); }
    void remove(double value) { sorted_.erase(std::lower_bound(sorted_.begin(), sorted_.end(), value)); }
    [[nodiscard]] double median() const { return sorted_[sorted_.size() / 2]; }

  private:
    std::vector<double> sorted_;
};

class Fit {
  public:
    Fit(const BlockGrid& grid, const std::vector<std::array<double, 3>>& colours,
        const std::vector<double>& light)
        : grid_(grid), colours_(colours), light_(light), expected_(grid.size(), -1.0) {
        for (std::size_t block = 0; block < grid.size(); ++block) {
            if (light[block] >= 0) {
                counted_.push_back(block);
            }
        }
    }

    [[nodiscard]] BlockFit run() {
        BlockFit fit;
        if (counted_.size() < grid_.size() / 4) {
            return fit;
        }
        expect(weigh());
        fit.contrast = deviation(light_);
        fit.scatter = 1.4826 * median(differences());
        find_largest_area(fit);
        return fit;
    }

  private:
    /// The weights of the colours, by least deviations.
    [[nodiscard]] Terms weigh() const {
        std::vector<double> trust(counted_.size(), 1.0);
        std::vector<double> wanted;
        for (const std::size_t block : counted_) {
            wanted.push_back(linear_light(light_[block]));
        }
        Terms weights{};
        for (int round = 0; round < kRounds; ++round) {
            std::array<Terms, kTerms> matrix{};
            Terms right{};
            for (std::size_t nth = 0; nth < counted_.size(); ++nth) {
                const Terms terms = terms_of(colours_[counted_[nth]]);
                for (std::size_t row = 0; row < kTerms; ++row) {
                    for (std::size_t column = 0; column < kTerms; ++column) {
                        matrix[row][column] += trust[nth] * terms[row] * terms[column];
                    }
                    right[row] += trust[nth] * terms[row] * wanted[nth];
                }
            }
            weights = solve(matrix, right);
            for (std::size_t nth = 0; nth < counted_.size(); ++nth) {
                const double off = wanted[nth] - sum_of(weights, terms_of(colours_[counted_[nth]]));
                trust[nth] = 1 / std::max(1e-3, std::abs(off));
            }
        }
        return weights;
    }

    /// Blocks whose sums are next to one another are expected to be equally light.
    void expect(const Terms& weights) {
        std::vector<std::size_t> order = counted_;
        std::vector<double> sums(grid_.size());
        for (const std::size_t block : counted_) {
            sums[block] = sum_of(weights, terms_of(colours_[block]));
        }
        std::sort(order.begin(), order.end(),
                  [&](std::size_t one, std::size_t other) { return sums[one] < sums[other]; });
        const std::size_t reach = std::max<std::size_t>(4, order.size() / kNeighbours / 2);
        SortedWindow around;
        std::size_t begin = 0;
        std::size_t end = 0;
        for (std::size_t nth = 0; nth < order.size(); ++nth) {
            const std::size_t near = std::min({reach, nth + 2, order.size() - nth + 1});
            for (const std::size_t wanted = std::min(order.size(), nth + near + 1); end < wanted; ++end) {
                around.add(light_[order[end]]);
            }
            for (const std::size_t wanted = nth - std::min(nth, near); begin < wanted; ++begin) {
                around.remove(light_[order[begin]]);
            }
            expected_[order[nth]] = around.median();
        }
    }

    [[nodiscard]] double mean(const std::vector<double>& values) const {
        double sum = 0;
        for (const std::size_t block : counted_) {
            sum += values[block];
        }
        return sum / static_cast<double>(counted_.size());
    }

    [[nodiscard]] double deviation(const std::vector<double>& values) const {
        const double middle = mean(values);
        double sum = 0;
        for (const std::size_t block : counted_) {
            sum += (values[block] - middle) * (values[block] - middle);
        }
        return std::sqrt(sum / static_cast<double>(counted_.size()));
    }

    [[nodiscard]] std::vector<double> differences() const {
        std::vector<double> all;
        for (const std::size_t block : counted_) {
            all.push_back(std::abs(light_[block] - expected_[block]));
        }
        return all;
    }

    /// How far a block is from all that the preview has in its neighbourhood: previews are cut and bent by a
    /// little.
    [[nodiscard]] double distance(std::size_t block) const {
        const std::size_t x = block % grid_.columns;
        const std::size_t y = block / grid_.columns;
        double least = light_[block];
        double most = light_[block];
        for (std::size_t row = y - std::min<std::size_t>(y, 1); row <= std::min(y + 1, grid_.rows - 1);
             ++row) {
            for (std::size_t column = x - std::min<std::size_t>(x, 1);
                 column <= std::min(x + 1, grid_.columns - 1); ++column) {
                const double light = std::abs(light_[row * grid_.columns + column]);
                least = std::min(least, light);
                most = std::max(most, light);
            }
        }
        return std::max({0.0, least - expected_[block], expected_[block] - most});
    }

    void find_largest_area(BlockFit& fit) const {
        std::vector<bool> differs(grid_.size());
        const double limit = std::max(std::min(kLevels, kContrasts * fit.contrast), kScatters * fit.scatter);
        for (const std::size_t block : counted_) {
            differs[block] = distance(block) > limit;
        }
        for (std::size_t block = 0; block < grid_.size(); ++block) {
            if (differs[block]) {
                fit.largest_area = std::max(fit.largest_area, take_area(block, differs));
            }
        }
    }

    /// Blocks side by side from one on, which are then no longer marked.
    [[nodiscard]] std::size_t take_area(std::size_t first, std::vector<bool>& differs) const {
        std::vector<std::size_t> open{first};
        differs[first] = false;
        std::size_t count = 0;
        while (!open.empty()) {
            const std::size_t block = open.back();
            open.pop_back();
            ++count;
            const auto visit = [&](bool inside, std::size_t next) {
                if (inside && differs[next]) {
                    differs[next] = false;
                    open.push_back(next);
                }
            };
            const std::size_t x = block % grid_.columns;
            visit(x > 0, block - 1);
            visit(x + 1 < grid_.columns, block + 1);
            visit(block >= grid_.columns, block - grid_.columns);
            visit(block + grid_.columns < grid_.size(), block + grid_.columns);
        }
        return count;
    }

    const BlockGrid& grid_;
    const std::vector<std::array<double, 3>>& colours_;
    const std::vector<double>& light_;
    std::vector<double> expected_;
    std::vector<std::size_t> counted_;
};

} // namespace

BlockFit fit_blocks(const BlockGrid& grid, const std::vector<std::array<double, 3>>& colours,
                    const std::vector<double>& light) {
    return Fit(grid, colours, light).run();
}

} // namespace plate_mend::host
