#include "Repair.h"

#include "assemble/Transplant.h"
#include "assemble/Widen.h"
#include "ways/CodedPieces.h"
#include "ways/CrxTracks.h"
#include "ways/FittingRows.h"
#include "ways/FujiStream.h"
#include "ways/OwnTables.h"
#include "ways/TwinRows.h"

#include <utility>

namespace raw_mend {

namespace {

Repaired keep_structure(Bytes damaged, const OwnStructure& own) {
    Repaired result;
    result.file.append(Extent{own.header, own.size}.of(damaged));
    for (const Piece& piece : own.description.raw.pieces) {
        result.image.pieces.emplace_back(Extent{own.header + piece.data.offset, piece.data.length});
    }
    result.image.proved = result.image.pieces.size();
    return result;
}

} // namespace

std::optional<Repaired> repair(Bytes damaged, const Sample& sample) {
    if (const auto own = find_own_structure(damaged, sample)) {
        return keep_structure(damaged, *own);
    }
    auto image = find_coded_pieces(damaged, sample);
    if (!image) {
        image = find_crx_tracks(damaged, sample);
    }
    if (!image) {
        image = find_fuji_stream(damaged, sample);
    }
    if (!image) {
        image = find_twin_rows(damaged, sample);
    }
    if (!image) {
        image = find_fitting_rows(damaged, sample);
    }
    if (!image) {
        return std::nullopt;
    }
    const Widened wide = widen(sample.description, *image);
    auto file = transplant(sample.file, wide.description, damaged, wide.pieces);
    return file ? std::optional(Repaired{std::move(*file), std::move(*image)}) : std::nullopt;
}

} // namespace raw_mend
