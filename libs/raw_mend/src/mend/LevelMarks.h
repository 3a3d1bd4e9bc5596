#pragma once

#include "mend/StreamSeams.h"

#include <vector>

namespace raw_mend {

/// How often single values occur beside those next to them. Steps of a converter are not all as wide, and
/// digital gain leaves values out or doubles them. All values of a photograph share these marks, so those of
/// a run whose level is not known are there again, displaced by as much as the run is off.
class LevelMarks {
  public:
    /// No marks.
    LevelMarks() = default;
    /// Compares the values of a run with those that are known, each colour with itself. None if too few are
    /// known.
    ///
    ///   masked  columns of the first slice that are left out: all of their values are alike
    LevelMarks(const StreamFrame& frame, const StreamSlices& slices, std::span<const std::uint16_t> values,
               std::span<const RowState> states, std::size_t masked);

    /// How unlikely shifts of a component are, from this one on: as sums of squares of errors, 0 for the
    /// likeliest of them. All are 0 where there are no marks.
    [[nodiscard]] std::vector<double> costs(std::size_t component, int first, std::size_t count) const;

  private:
    /// The values of one colour: how many more of each the run has than of those around it, and marks of
    /// those that are known.
    struct Colour {
        std::size_t component = 0;
        std::vector<double> run;
        std::vector<double> marks;
    };

    std::vector<Colour> colours_;
    std::vector<double> excess_; ///< By component: how many times likelier marks make shifts than they are.
};

} // namespace raw_mend
