#pragma once

#include "fit/Canvas.h"
#include "sequential/RunPart.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace still_mend {

/// Measures how well the first row of a part of a run fits below what is on the canvas.
class RowFit {
  public:
    /// How far above an MCU what it is compared with may be, in rows.
    static constexpr std::size_t kRows = 4;

    /// The canvas must outlive it; what is put there later counts. typical: the usual step to the right.
    RowFit(const Canvas& canvas, double typical);

    /// Learns the mean steps from each row to those below it within the parts, one to kRows away.
    void measure_usual_steps(const std::vector<RunPart>& parts);

    /// A place for a part.
    struct Fit {
        std::size_t position = 0;
        Levels level{};   ///< What is added to the DC values there.
        double steps = 0; ///< Mean step to what is above it; the usual one is 1.
        double cost = 0;  ///< What speaks against the place: minus the logarithm of its likelihood.
    };

    /// The fit of a part at a position, with the level that fits best; with what is at most this many rows
    /// above. Nothing if too little is above.
    [[nodiscard]] std::optional<Fit> at(const RunPart& part, std::size_t position, std::size_t rows = kRows);
    /// The same with this level.
    [[nodiscard]] std::optional<Fit> at_level(const RunPart& part, std::size_t position, const Levels& level);

    /// Whether a level is certain to about one: the MCUs directly above a part at a position agree on it.
    [[nodiscard]] bool proves_level(const RunPart& part, std::size_t position, const Levels& level) const;

    /// How many of the first MCUs of a part do not fit there: the decoder was not in step yet.
    [[nodiscard]] std::size_t misfits_before(const RunPart& part, std::size_t position,
                                             const Levels& level) const;

    /// Whether a part continues the other without a shift: the rows on both sides of the break fit each
    /// other as they are, so that what is between them is only a rough part of the picture.
    [[nodiscard]] bool continues(const RunPart& before, const RunPart& after) const;

    /// Whether the limit of comparisons for one picture is reached.
    [[nodiscard]] bool is_exhausted() const { return compared_ >= kMostCompared; }

  private:
    /// An MCU, and the nearest that is above a place for it.
    struct Pair {
        std::size_t above = 0; ///< Position.
        std::size_t below = 0; ///< Trace.
        std::size_t rows = 1;  ///< Apart.
    };

    [[nodiscard]] std::vector<Pair> pairs_at(const RunPart& part, std::size_t position,
                                             std::size_t rows) const;
    [[nodiscard]] std::optional<Pair> pair_at(const RunPart& part, std::size_t position, std::size_t mcu,
                                              std::size_t rows) const;
    [[nodiscard]] Fit fit_of(const RunPart& part, std::size_t position, const std::vector<Pair>& pairs,
                             const Levels& level);
    [[nodiscard]] bool are_enough(const std::vector<Pair>& pairs) const;
    [[nodiscard]] double step_over(const Pair& pair, const Levels& level) const;
    [[nodiscard]] double usual_step(const RunPart& part, const Pair& pair) const;
    [[nodiscard]] Levels level_of(const std::vector<Pair>& pairs) const;

    const Canvas& canvas_;
    const McuTraces& traces_;
    std::size_t wide_;
    double typical_;
    std::array<double, kRows + 1> usual_{}; // Steps to the row this many below.
    std::size_t compared_ = 0;              // MCUs.
};

} // namespace still_mend
