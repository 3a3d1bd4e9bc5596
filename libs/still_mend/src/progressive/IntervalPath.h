#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace still_mend {

/// The data between two restart markers, as far as their place is concerned. The number of a marker tells the
/// place but for a multiple of eight intervals that may be lost in front of it. A state is such a loss.
struct PathInterval {
    static constexpr std::size_t kMostStates = 8;

    bool seamless = false;  ///< Nothing tells of a loss directly in front: numbers follow, and bits end well.
    std::size_t eights = 0; ///< Lost intervals that the bytes in front would hold, in eights.
    std::uint8_t closing = 0;     ///< By state, from the lowest bit: the bits end with the last unit there.
    std::uint8_t refining = 0xFF; ///< So do those of the scan that refines what is there.
};

/// How well each piece fits where each state puts it, as logarithms of odds.
struct PathFits {
    std::vector<float> alone;  ///< By piece and state.
    std::vector<float> joined; ///< With the piece before, if that is in the same state.
    std::vector<float> below;  ///< With the pieces above it, if they are in the same state.
    std::size_t reach = 0;     ///< So many pieces in front the farthest of those are.
};

/// The state of a piece.
struct PathStep {
    std::uint8_t state = 0;
    bool sure = false; ///< No other state is nearly as likely.
};

/// The likeliest losses. They can only grow from piece to piece, and reach the last state at the end.
/// losses: of each state, in eights: ascending from 0; 1 to kMostStates of them. closed_end: nothing tells of
/// a loss behind the last piece.
[[nodiscard]] std::vector<PathStep> find_path(const std::vector<PathInterval>& pieces, const PathFits& fits,
                                              const std::vector<std::size_t>& losses, bool closed_end);

} // namespace still_mend
