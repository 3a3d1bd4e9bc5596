#pragma once

#include "locate/RowFit.h"

#include <cstdint>
#include <vector>

namespace raw_mend {

/// Rows one after another that fit: each the one of its colours below it.
struct RowRun {
    std::uint64_t first = 0;
    std::uint64_t last = 0; ///< One after.
    bool sharp_first =
        false; ///< The rows directly before it clearly do not fit it, or the file begins with it.
    bool sharp_last = false; ///< Those directly after it do not, or the file ends with it.
    bool operator==(const RowRun&) const = default;
};

/// Whether a file begins with the first byte of row 0, and ends with the last one of the last row.
struct WholeRows {
    bool first = false;
    bool last = false;
};

/// All runs, by row. What fits is learned from the rows [known_first, known_last), most of
/// which must be a picture's. Blank rows belong to none. A picture whose brightness changes from one row to
/// the next is two runs, without a row between them.
[[nodiscard]] std::vector<RowRun> find_row_runs(RowFit& fit, std::uint64_t period, WholeRows whole,
                                                std::uint64_t known_first, std::uint64_t known_last);

} // namespace raw_mend
