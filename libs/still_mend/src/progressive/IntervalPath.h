#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace still_mend {

/// A restart interval, as far as its place is concerned. The number of its marker leaves the place open by a
/// multiple of eight intervals that may be lost before it. A state is such a loss.
struct PathInterval {
    static constexpr std::size_t kMostStates = 8;

    bool seamless = false;        ///< No sign of a loss directly before: numbers follow, and bits end well.
    std::size_t eights = 0;       ///< Lost intervals that the bytes before would hold, in eights.
    std::uint8_t closing = 0;     ///< By state, from the lowest bit: the bits end with the last unit there.
    std::uint8_t refining = 0xFF; ///< So do those of the scan that refines what is there.
};

/// How well each interval fits where each state puts it, as logarithms of odds.
struct PathFits {
    std::vector<float> alone;  ///< By interval and state.
    std::vector<float> joined; ///< With the interval before, if that is in the same state.
    std::vector<float> below;  ///< With the intervals above it, if they are in the same state.
    std::size_t reach = 0;     ///< The farthest of those is this many intervals before.
};

/// The state of an interval.
struct PathStep {
    std::uint8_t state = 0;
    bool sure = false; ///< No other state is nearly as likely.
};

/// The likeliest losses. They can only grow from interval to interval, and reach the last state at the end.
/// losses: of each state, in eights: ascending from 0; 1 to kMostStates of them. closed_end: no sign
/// of a loss after the last interval.
[[nodiscard]] std::vector<PathStep> find_path(const std::vector<PathInterval>& intervals,
                                              const PathFits& fits, const std::vector<std::size_t>& losses,
                                              bool closed_end);

} // namespace still_mend
