#include "Repair.h"

#include "assemble/OwnMetadata.h"
#include "assemble/OwnPictures.h"
#include "ways/CellImage.h"
#include "ways/CodedPieces.h"
#include "ways/CrxTracks.h"
#include "ways/DeflatedPieces.h"
#include "ways/FittingRows.h"
#include "ways/FujiStream.h"
#include "ways/HeadlessImage.h"
#include "ways/LossyPieces.h"
#include "ways/OwnTables.h"
#include "ways/SamplePlaces.h"
#include "ways/StreamTails.h"
#include "ways/TornRows.h"
#include "ways/TornStreams.h"
#include "ways/TwinRows.h"

#include <algorithm>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace raw_mend {

namespace {

Repaired keep_structure(Bytes damaged, const OwnStructure& own) {
    Repaired result{.file = Splice(), .image = {}};
    result.file->append(Extent{own.header, own.size}.of(damaged));
    for (const Extent& piece : own.pieces()) {
        result.image.pieces.emplace_back(piece);
    }
    if (own.is_proved) {
        result.image.proved = result.image.pieces.size();
    } else {
        result.image.doubts.emplace_back("The image is where the file's own tables say; nothing proves it.");
    }
    if (own.other) {
        result.image.doubts.emplace_back("Another whole photograph of this kind begins at offset " +
                                         std::to_string(*own.other) + ".");
    }
    return result;
}

std::optional<FoundImage> find_proved_image(Bytes damaged, const Sample& sample) {
    auto image = find_coded_pieces(damaged, sample);
    image = image ? std::move(image) : find_lossy_pieces(damaged, sample);
    image = image ? std::move(image) : find_deflated_pieces(damaged, sample);
    image = image ? std::move(image) : find_crx_tracks(damaged, sample);
    image = image ? std::move(image) : find_fuji_stream(damaged, sample);
    image = image ? std::move(image) : find_headless_image(damaged, sample);
    image = image ? std::move(image) : find_cell_image(damaged, sample);
    image = image ? std::move(image) : find_twin_rows(damaged, sample);
    return image ? std::move(image) : find_fitting_rows(damaged, sample);
}

/// The damaged file's image, from its first piece to its last; empty, at the end of the file, if all are
/// lost.
Extent extent_of(const FoundImage& image, Bytes damaged) {
    std::uint64_t begin = damaged.size();
    std::uint64_t end = 0;
    for (const auto& piece : image.pieces) {
        if (piece) {
            begin = std::min(begin, piece->offset);
            end = std::max(end, piece->end());
        }
    }
    return {begin, std::max(begin, end) - begin};
}

/// Adds those for parts that have none yet.
void add(std::span<const Replacement> more, std::vector<Replacement>& replacements) {
    for (const Replacement& part : more) {
        if (std::ranges::find(replacements, part.extent, &Replacement::extent) == replacements.end()) {
            replacements.push_back(part);
        }
    }
}

/// The bytes must outlive the result: the vectors may be moved, their elements may not.
std::vector<Replacement> replace_mended(const FoundImage& image, const Description& description) {
    std::vector<Replacement> replacements;
    for (const MendedPiece& mended : image.mended) {
        replacements.push_back({description.raw.pieces[mended.piece].data, mended.bytes});
    }
    return replacements;
}

/// The sample's structure, with what survives of the damaged file's own.
Repaired take_structure(Bytes damaged, const Sample& sample, FoundImage image) {
    const Extent extent = extent_of(image, damaged);
    const auto metadata = find_own_metadata(damaged, sample.file, sample.description, extent);
    const auto pictures = find_own_pictures(damaged, sample.description, extent);
    const auto mended = replace_mended(image, sample.description);
    std::vector<Replacement> own = mended;
    for (const Substitute& other : image.others) {
        own.push_back({other.in_sample, other.in_damaged.of(damaged)});
    }
    add(pictures.pictures, own);
    add(metadata.tables, own);
    auto file = transplant(sample.file, sample.description, damaged, image.pieces, own);
    if (file || own.size() == mended.size()) {
        return {std::move(file), std::move(image), metadata.is_complete, pictures.is_complete};
    }
    file = transplant(sample.file, sample.description, damaged, image.pieces, mended);
    return {std::move(file), std::move(image), false, false};
}

/// The damaged file's own structure around an image whose rows were put together anew.
Repaired keep_structure(Bytes damaged, MendedRows rows) {
    Repaired result{.file = Splice(), .image = std::move(rows.image)};
    result.file->append(rows.own->before.of(damaged));
    for (const MendedPiece& piece : result.image.mended) {
        result.file->append(piece.bytes);
    }
    result.file->append(rows.own->after.of(damaged));
    return result;
}

} // namespace

std::optional<Repaired> repair(Bytes damaged, const Sample& sample, Filling filling) {
    const auto own = find_own_structure(damaged, sample);
    if (auto rows = mend_torn_rows(damaged, sample, own, filling)) {
        return rows->own ? keep_structure(damaged, std::move(*rows))
                         : take_structure(damaged, sample, std::move(rows->image));
    }
    if (own && own->is_proved && !has_refuted_streams(damaged, sample, own->pieces())) {
        return keep_structure(damaged, *own);
    }
    auto image = find_proved_image(damaged, sample);
    image = image ? std::move(image) : find_stream_tail(damaged, sample, filling);
    if (!image && own) {
        return keep_structure(damaged, *own);
    }
    image = image ? std::move(image) : find_at_sample_places(damaged, sample);
    if (!image || (image->count_found() == 0 && image->others.empty())) {
        return std::nullopt;
    }
    mend_streams(damaged, sample, filling, *image);
    return take_structure(damaged, sample, std::move(*image));
}

} // namespace raw_mend
