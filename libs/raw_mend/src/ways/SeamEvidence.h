#pragma once

#include "ways/TileSides.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace raw_mend {

/// How likely tiles are to be neighbours. What their seams show is compared with the seams of tiles of the
/// same photograph that were drawn at random: seams of a flat sky are all alike, and say nothing.
class SeamEvidence {
  public:
    /// The tiles that can be compared; nothing for others.
    explicit SeamEvidence(std::vector<std::optional<TileSides>> tiles);

    /// The logarithm of how much likelier the seam is if the second tile is to the right of the first, or
    /// below it, than if they are no neighbours. 0 if nothing is known.
    [[nodiscard]] double beside(std::size_t left, std::size_t right);
    [[nodiscard]] double below(std::size_t upper, std::size_t lower);

  private:
    [[nodiscard]] double weigh(double seam) const;
    void draw_strangers();

    std::vector<std::optional<TileSides>> tiles_;
    std::vector<double> strangers_; // Seams of tiles drawn at random.
    std::unordered_map<std::uint64_t, double> known_;
};

} // namespace raw_mend
