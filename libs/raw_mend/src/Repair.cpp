#include "Repair.h"

#include "assemble/OwnMetadata.h"
#include "assemble/OwnPictures.h"
#include "ways/CodedPieces.h"
#include "ways/FittingRows.h"
#include "ways/OwnTables.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace raw_mend {

namespace {

Repaired keep_structure(Bytes damaged, const OwnStructure& own) {
    Repaired result{.file = Splice(), .image = {}};
    result.file->append(damaged.subspan(static_cast<std::size_t>(own.header)));
    for (const Piece& piece : own.description.raw.pieces) {
        result.image.pieces.emplace_back(Extent{own.header + piece.data.offset, piece.data.length});
    }
    result.image.proved = result.image.pieces.size();
    return result;
}

/// The damaged file's image, from its first piece to its last.
Extent extent_of(const FoundImage& image) {
    Extent all{~std::uint64_t{0}, 0};
    std::uint64_t end = 0;
    for (const auto& piece : image.pieces) {
        if (piece) {
            all.offset = std::min(all.offset, piece->offset);
            end = std::max(end, piece->end());
        }
    }
    all.length = end - all.offset;
    return all;
}

/// The sample's structure, with what survives of the damaged file's own.
Repaired take_structure(Bytes damaged, const Sample& sample, FoundImage image) {
    const Extent extent = extent_of(image);
    const auto metadata = find_own_metadata(damaged, sample.file, sample.description, extent);
    const auto pictures = find_own_pictures(damaged, sample.description, extent);
    std::vector<Replacement> own = metadata.tables;
    own.insert(own.end(), pictures.pictures.begin(), pictures.pictures.end());
    auto file = transplant(sample.file, sample.description, damaged, image.pieces, own);
    if (file || own.empty()) {
        return {std::move(file), std::move(image), metadata.is_complete, pictures.is_complete};
    }
    return {transplant(sample.file, sample.description, damaged, image.pieces), std::move(image), false,
            false};
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
    return image ? std::optional(take_structure(damaged, sample, std::move(*image))) : std::nullopt;
}

} // namespace raw_mend
