#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"
#include "locate/RowPhase.h"

#include <cstdint>
#include <vector>

namespace raw_mend {

/// A part of a file that holds rows of one phase.
struct PhasePiece {
    std::uint64_t begin = 0; ///< Offset of the first window with this phase. The piece may begin earlier.
    std::uint64_t end = 0;   ///< Where the last one ends. The piece may end later.
    std::uint64_t phase = 0; ///< Offset of any of its rows in the file, modulo the bytes of a row.
    double distance = 0;     ///< Of the clearest window; RowPhase::distance.
    bool operator==(const PhasePiece&) const = default;
};

/// The pieces of a file, by offset, found by windows of 64 rows. Two pieces next to each other differ in
/// phase: between them, bytes were lost or put in. Windows without a clear phase belong to a piece only if
/// the pieces on both sides have the same, or several of them together have a clear one. In large files, only
/// a part of the rows is read.
[[nodiscard]] std::vector<PhasePiece> find_phase_pieces(Bytes file, const RowGeometry& geometry,
                                                        const RowTraits& traits = {});

} // namespace raw_mend
