#pragma once

#include "mend/StreamSides.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace raw_mend {

/// A number of whole rows that may be missing between two runs, and how unlikely it is.
struct GapOption {
    std::ptrdiff_t rows = 0;
    double penalty = 0;
};

/// How unlikely each place of a run is by the rows beside it.
class PlaceEvidence {
  public:
    /// Says nothing.
    PlaceEvidence() = default;
    /// Places must be in ascending order, and at least one. The rows that are missing before the run in all
    /// are those that its present place means.
    PlaceEvidence(const std::vector<SidePlace>& places, std::ptrdiff_t rows);

    /// If so many rows are missing before the run in all. Where rows could not be compared, that of most
    /// places.
    [[nodiscard]] double penalty(std::ptrdiff_t rows) const;

  private:
    std::ptrdiff_t first_ = 0;
    std::vector<double> penalties_; // From that on.
    double elsewhere_ = 0;
};

/// The likeliest number of rows for each gap; as many as there must be in all, if that is known. Takes time
/// proportional to the options and to the different sums that they can have.
///
///   options   at least one for each gap
///   evidence  about the run after each gap
[[nodiscard]] std::vector<std::ptrdiff_t> choose_rows(const std::vector<std::vector<GapOption>>& options,
                                                      const std::vector<PlaceEvidence>& evidence,
                                                      std::optional<std::ptrdiff_t> all);

} // namespace raw_mend
