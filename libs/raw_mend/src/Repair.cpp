#include "Repair.h"

#include "assemble/Transplant.h"
#include "ways/CellImage.h"
#include "ways/CodedPieces.h"
#include "ways/FittingRows.h"
#include "ways/HeadlessImage.h"
#include "ways/LossyPieces.h"
#include "ways/OwnTables.h"
#include "ways/SamplePlaces.h"

#include <utility>

namespace raw_mend {

namespace {

Repaired keep_structure(Bytes damaged, const OwnStructure& own) {
    Repaired result;
    result.file.append(damaged.subspan(static_cast<std::size_t>(own.header)));
    for (const Extent& piece : own.pieces()) {
        result.image.pieces.emplace_back(piece);
    }
    if (own.is_proved) {
        result.image.proved = result.image.pieces.size();
    } else {
        result.image.doubts.emplace_back("The image is where the file's own tables say; nothing proves it.");
    }
    return result;
}

std::optional<FoundImage> find_proved_image(Bytes damaged, const Sample& sample) {
    auto image = find_coded_pieces(damaged, sample);
    image = image ? std::move(image) : find_lossy_pieces(damaged, sample);
    image = image ? std::move(image) : find_headless_image(damaged, sample);
    image = image ? std::move(image) : find_cell_image(damaged, sample);
    return image ? std::move(image) : find_fitting_rows(damaged, sample);
}

} // namespace

std::optional<Repaired> repair(Bytes damaged, const Sample& sample) {
    const auto own = find_own_structure(damaged, sample);
    if (own && own->is_proved) {
        return keep_structure(damaged, *own);
    }
    auto image = find_proved_image(damaged, sample);
    if (!image && own) {
        return keep_structure(damaged, *own);
    }
    image = image ? std::move(image) : find_at_sample_places(damaged, sample);
    if (!image) {
        return std::nullopt;
    }
    auto file = transplant(sample.file, sample.description, damaged, image->pieces);
    return file ? std::optional(Repaired{std::move(*file), std::move(*image)}) : std::nullopt;
}

} // namespace raw_mend
