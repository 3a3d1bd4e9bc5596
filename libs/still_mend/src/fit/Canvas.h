#pragma once

#include "fit/McuTraces.h"

#include <array>
#include <cstdint>
#include <vector>

namespace still_mend {

/// What to add to quantised DC values, by component of the scan.
using Levels = std::array<std::int32_t, 4>;

/// The places of a picture's MCUs, each with the trace that was put there.
class Canvas {
  public:
    Canvas(const McuTraces& traces, std::size_t wide, std::size_t total)
        : traces_(traces), wide_(wide), trace_of_(total, kNone), level_(total) {}

    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    [[nodiscard]] const McuTraces& traces() const { return traces_; }
    [[nodiscard]] std::size_t wide() const { return wide_; }
    [[nodiscard]] std::size_t total() const { return trace_of_.size(); }
    [[nodiscard]] bool is_filled(std::size_t position) const { return trace_of_[position] != kNone; }
    [[nodiscard]] std::uint32_t trace(std::size_t position) const { return trace_of_[position]; }
    [[nodiscard]] const Levels& level(std::size_t position) const { return level_[position]; }

    /// Puts MCUs at a position and those after it, with what to add to their DC values. They replace those
    /// put there before, as in the picture.
    void put(std::size_t position, std::size_t trace, std::size_t count, const Levels& level = {});

    /// Mean steps across all borders between filled neighbours, in sixteenths of a level; and, for
    /// comparison, between places that are not neighbours.
    struct Roughness {
        double down = 0;
        double right = 0;
        double apart = 0;
        std::size_t pairs = 0; ///< Pairs of vertical neighbours.
        std::size_t pairs_right = 0;
    };
    [[nodiscard]] Roughness roughness() const;

  private:
    const McuTraces& traces_;
    std::size_t wide_;
    std::vector<std::uint32_t> trace_of_;
    std::vector<Levels> level_;
};

} // namespace still_mend
