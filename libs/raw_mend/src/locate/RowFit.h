#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"
#include "locate/UnitReader.h"

#include <cstdint>
#include <vector>

namespace raw_mend {

/// The rows of a file at one phase, and how well they fit one another. Reads a part of each row only.
class RowFit {
  public:
    /// Row 0 is at offset phase.
    RowFit(Bytes file, const RowGeometry& geometry, std::uint64_t phase);

    /// Whole rows from the phase to the end of the file.
    [[nodiscard]] std::uint64_t rows() const { return rows_; }

    /// Whether nearly all bytes of a row have the same value.
    [[nodiscard]] bool is_blank(std::uint64_t row) const;

    /// How a row differs from the next one of its colours.
    struct Misfit {
        double mean = 0; ///< The mean difference of samples at the same place.
        double base = 0; ///< That of samples at different places.
    };
    /// The row and the next one of its colours must be there.
    [[nodiscard]] Misfit misfit(std::uint64_t row);

  private:
    void read(std::uint64_t row, std::vector<float>& samples);

    Bytes file_;
    const RowGeometry& geometry_;
    std::uint64_t phase_;
    std::uint64_t rows_;
    Units units_;
    std::vector<float> upper_;
    std::vector<float> lower_;
};

} // namespace raw_mend
