#pragma once

#include "Survey.h"

#include <array>
#include <cstdint>
#include <vector>

namespace still_mend {

/// What is to be added to quantised DC values, by component of the scan.
using Levels = std::array<std::int32_t, 4>;

/// Where a part of a run goes in the picture.
struct Placement {
    std::size_t run = 0;
    std::size_t skip = 0; ///< MCUs of the run that are not taken from its beginning.
    std::size_t count = 0;
    std::size_t position = 0; ///< Of the first MCU, in the order of the scan.
    Levels level{};
    bool sure = true; ///< Nothing else fits nearly as well.
};

/// The places of a picture's MCUs, each with the trace that was put there.
class Canvas {
  public:
    Canvas(const McuTraces& traces, std::size_t wide, std::size_t total)
        : traces_(traces), wide_(wide), trace_of_(total, kNone), level_(total) {}

    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    [[nodiscard]] const McuTraces& traces() const { return traces_; }
    [[nodiscard]] std::size_t wide() const { return wide_; }
    [[nodiscard]] std::size_t total() const { return trace_of_.size(); }
    [[nodiscard]] bool taken(std::size_t position) const { return trace_of_[position] != kNone; }
    [[nodiscard]] std::uint32_t trace(std::size_t position) const { return trace_of_[position]; }
    [[nodiscard]] const Levels& level(std::size_t position) const { return level_[position]; }

    /// Puts MCUs from position on, with what is to be added to their DC values. They take the places of those
    /// that were put there before, as they do in the picture.
    void put(std::size_t position, std::size_t trace, std::size_t count, const Levels& level = {});

    /// Mean steps across all borders between neighbours that are there, in sixteenths of a level; and, to
    /// compare with, between places that are not neighbours.
    struct Roughness {
        double down = 0;
        double right = 0;
        double apart = 0;
        std::size_t pairs = 0; ///< Vertical ones.
        std::size_t pairs_right = 0;
    };
    [[nodiscard]] Roughness roughness() const;

  private:
    const McuTraces& traces_;
    std::size_t wide_;
    std::vector<std::uint32_t> trace_of_;
    std::vector<Levels> level_;
};

/// Gives the runs of a scan with restarts their places: by the numbers of the markers, by the bytes lost
/// between them where more than eight intervals may be gone, by the fit with what stands above, and from the
/// end of the scan. Runs that end where they must are taken whole; of the first broken one behind them the
/// part before the damage.
[[nodiscard]] std::vector<Placement> place_restarts(const ScanData& data, const Survey& survey,
                                                    Canvas& canvas);

/// How many of the MCUs [first, last) come before the borders turn rough: what precedes the error that ended
/// a run may be noise that happened to decode. Typical is the usual step to the right in this picture.
[[nodiscard]] std::size_t smooth_prefix(const McuTraces& traces, std::size_t first, std::size_t last,
                                        double typical);

/// The median step to the right within the runs: those that close, or all where none does.
[[nodiscard]] double typical_step(const Survey& survey);

} // namespace still_mend
