#include "Repair.h"

#include "assemble/Transplant.h"
#include "ways/CodedPieces.h"
#include "ways/FittingRows.h"
#include "ways/OwnTables.h"

#include <utility>

namespace raw_mend {

namespace {

Repaired keep_structure(Bytes damaged, const OwnStructure& own) {
    Repaired result{Splice(), {}};
    result.file->append(damaged.subspan(static_cast<std::size_t>(own.header)));
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
        image = find_fitting_rows(damaged, sample);
    }
    if (!image) {
        return std::nullopt;
    }
    auto file = transplant(sample.file, sample.description, damaged, image->pieces);
    return Repaired{std::move(file), std::move(*image)};
}

} // namespace raw_mend
