#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace raw_mend {

/// What the rows of a camera have in common, measured on an intact sample.
///
/// The break that a search finds is the seam, where the right end of a row meets the left end of the next.
/// Masked columns hide the seam: black meets black there. Then the break is where they meet the picture.
struct RowTraits {
    bool break_known = false;     ///< Otherwise, no picture with masked columns gets an answer.
    std::uint64_t break_unit = 0; ///< In units from the left end of the row; 0 is the seam.
    bool masked_left = false;     ///< The columns left of the break are masked.
    bool masked_right = false;    ///< Those right of it are.
    std::optional<unsigned>
        idle_low_bits;      ///< Lowest bits that are the same in all samples. Not known for cells.
    bool idle_ends = false; ///< Whether bits after the last sample of a row are the same in all rows.
    bool operator==(const RowTraits&) const = default;
};

/// Measures an intact image, which may be truncated. The break is not known if the image has no clear one, or
/// only one that is neither the seam nor due to masked columns.
[[nodiscard]] RowTraits measure_row_traits(Bytes image, const RowGeometry& geometry);

/// At most 16 windows of 64 rows each, spread over an image: enough to show what all its rows have in common,
/// wherever they are many. The last rows that fill no window are left out.
[[nodiscard]] std::vector<Bytes> spread_windows(Bytes image, const RowGeometry& geometry);

/// Why there is an answer or not.
enum class PhaseFinding {
    kClear,
    kUnsupported, ///< RowGeometry::supported().
    kTooShort,    ///< Fewer rows than can be judged.
    kNoAlignment, ///< Rows do not fit one another at this distance, or fit at several alignments.
    kNotDistinct, ///< Another place is nearly as good: a flat picture, noise, or two phases.
    kEdge,        ///< The best place is an edge in the picture rather than the seam.
    kMasked, ///< The best place has masked columns beside it where none are known, or the other way round.
};

/// The offset, modulo the bytes of a row, at which rows begin, and the evidence.
struct RowPhase {
    PhaseFinding finding = PhaseFinding::kUnsupported;
    std::optional<std::uint64_t> phase; ///< Only if clear: 0 to the bytes of a row less one. Exact.
    std::optional<unsigned> alignment;  ///< The phase modulo the bytes of a group, if rows are whole groups.
    double best = 0;                    ///< Score of the best place: 0 to 5, about 1 where there is no seam.
    double second = 0;                  ///< Score of the place that comes nearest to it.
    double distance = 0;                ///< Between the two, in standard deviations.
    std::uint64_t rows = 0;             ///< Rows that were judged.
};

/// The phase of a window: the offset in it, modulo the bytes of a row, at which its rows begin.
[[nodiscard]] RowPhase find_row_phase(Bytes window, const RowGeometry& geometry,
                                      const RowTraits& traits = {});

/// The same for several windows of one file that have the same phase: each begins so many whole rows after
/// the one before it.
[[nodiscard]] RowPhase find_row_phase(std::span<const Bytes> windows, const RowGeometry& geometry,
                                      const RowTraits& traits = {});

} // namespace raw_mend
