#pragma once

#include "mend/StreamFrame.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace raw_mend {

/// How well the values of a stream fit the nearest row above with the same colours, by what is usual for
/// their part of the row: noise and structure differ from part to part.
class StreamFit {
  public:
    static constexpr std::size_t kBlock = 64; ///< Values of a part; the last one of a row may have fewer.

    /// The period is what find_row_period() returns.
    StreamFit(const StreamFrame& frame, std::size_t period);

    /// How far values are from those above on average, 1 being usual, each counted as at most 8. Without a
    /// row above, or before anything was learned, 0.
    [[nodiscard]] double misfit(std::span<const std::uint16_t> values, std::size_t from,
                                std::size_t to) const;
    /// Learns from a block, all in one row, what is usual there.
    void learn(std::span<const std::uint16_t> values, std::size_t from, std::size_t to);

    [[nodiscard]] std::size_t lag() const { return lag_; }
    [[nodiscard]] std::size_t blocks_of_row() const { return scales_.size(); }

  private:
    [[nodiscard]] double scale_around(std::size_t block) const;

    std::size_t row_;
    std::size_t lag_;            // Values from a row to the one it is compared with.
    double usual_ = 0;           // Of the last some hundred blocks.
    std::vector<double> scales_; // By block of a row; negative if nothing is learned.
};

} // namespace raw_mend
