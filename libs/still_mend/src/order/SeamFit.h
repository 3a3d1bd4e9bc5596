#pragma once

#include "fit/McuTraces.h"

#include <cstddef>

namespace still_mend {

/// How well MCUs that were decoded go on with those before them: in brightness and colour, with what is above
/// them. The measure is the logarithm of the step between them, beside that of the same columns one row
/// above: about 0 if they do, and more if the place or the level is a wrong one.
class SeamFit {
  public:
    /// The traces are by position, and must outlive it. wide: MCUs in a row of the picture.
    SeamFit(const McuTraces& traces, std::size_t wide) : traces_(traces), wide_(wide) {}

    /// The mean misfit of the MCUs [first, last), of at least one.
    [[nodiscard]] double misfit(std::size_t first, std::size_t last) const;

    /// From which misfit on this many MCUs seem not to belong there. The mean of more of them says more.
    [[nodiscard]] static double bound(std::size_t mcus);

    /// Whether nothing speaks against the level of the MCUs [first, last): what is in step but too bright by
    /// some levels, or of another colour, fits nearly as well where a picture is smooth, but all of its steps
    /// are then to the same side.
    [[nodiscard]] bool is_level(std::size_t first, std::size_t last) const;

  private:
    [[nodiscard]] double step(std::size_t position) const;
    [[nodiscard]] double usual_step(std::size_t position) const;
    [[nodiscard]] int level_down(std::size_t position, std::size_t component) const;

    const McuTraces& traces_;
    std::size_t wide_;
};

} // namespace still_mend
