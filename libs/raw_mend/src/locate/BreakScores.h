#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"
#include "locate/UnitReader.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// For each unit of a row, how strongly the picture breaks before it: whether it differs more from its
/// neighbour to the left than units of that row do elsewhere, at once and without a gradient on either side.
/// Each period of rows has one vote, so that no single row decides.
class BreakScores {
  public:
    explicit BreakScores(const RowGeometry& geometry);

    /// Adds the votes of all rows of a window. Unit 0 is at its first byte. Bytes after its last whole row
    /// are ignored.
    void add(Bytes window);

    /// Rows that voted.
    [[nodiscard]] std::uint64_t rows() const { return votes_ * geometry_.cfa_period; }

    /// The mean vote for a break before a unit: 0 to 5; about 1 where there is none.
    [[nodiscard]] double mean(std::size_t unit) const;

    /// The break with the best score among the first units of groups, and the one that comes nearest to it.
    struct Best {
        std::size_t unit = 0;
        std::size_t second = 0;
        double distance = 0; ///< Of the two scores, in standard deviations.
    };
    /// Nothing with fewer than three votes.
    [[nodiscard]] std::optional<Best> best() const;

    /// How much steeper the picture is directly beside a break than some units away; the steeper side
    /// counts. About 1 for the seam between two rows; more for an edge in the picture.
    [[nodiscard]] double steepness(std::size_t unit) const;

  private:
    void add_vote(Bytes window, std::uint64_t first_row);
    void read_row(Bytes window, std::uint64_t row);
    void add_differences();
    void score_candidates();
    void rank_candidates();
    [[nodiscard]] float median_difference();
    [[nodiscard]] double slope(std::size_t unit, std::size_t distance, bool left) const;

    RowGeometry geometry_;
    std::size_t step_;
    std::size_t per_group_;
    std::size_t units_;
    std::uint64_t votes_ = 0;
    Units row_; ///< A row, and the first units of the next.
    /// At i: between the unit before i by a step, and one further, and its right neighbour; summed over a
    /// vote. Those of the row's end come first once more.
    std::vector<float> differences_;
    std::vector<float> candidates_; ///< At i: how strong the break before unit i is.
    std::vector<float> sorted_;
    std::vector<double> sum_;
    std::vector<double> squares_;
    std::vector<double>
        slopes_; ///< Differences relative to their median, bounded by 1; summed over all votes.
};

} // namespace raw_mend
