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
    void add_ends();
    void score_candidates();
    void rank_candidates();
    [[nodiscard]] float median_difference();
    /// At i: how steep the picture is directly right of a break before unit i, and directly left of one after
    /// it.
    [[nodiscard]] const float* right_of_break() const;
    [[nodiscard]] const float* left_of_break() const;
    [[nodiscard]] double slope(std::size_t unit, std::size_t distance, bool left) const;

    RowGeometry geometry_;
    bool cells_;
    std::size_t step_;
    std::size_t per_group_;
    std::size_t units_;
    std::uint64_t votes_ = 0;
    Units row_; ///< A row, and the first units of the next.
    /// At step + 1 + i: between unit i and the next of its colour, summed over a vote. Those of the row's
    /// last units are at the beginning once more.
    std::vector<float> differences_;
    std::vector<float> left_ends_; ///< In cells, at i: between the first two samples of unit i.
    std::vector<float>
        right_ends_; ///< At 1 + i: between its last two; that of the row's last unit is at 0 too.
    std::vector<float> candidates_;   ///< Per group: how strong the break before its first unit is.
    std::vector<std::uint16_t> bins_; ///< Of the candidates.
    std::vector<float> sorted_;       ///< Some of the differences.
    std::vector<double> sum_;
    std::vector<double> squares_;
    /// Differences relative to their median, bounded by 1; summed over all votes. At i: from unit i to the
    /// right, or in its first samples; and, in cells, in its last ones.
    std::vector<float> slopes_;
    std::vector<float> right_slopes_;
};

} // namespace raw_mend
