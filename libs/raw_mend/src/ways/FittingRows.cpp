#include "ways/FittingRows.h"

#include "locate/RowExtent.h"
#include "ways/TwinRows.h"

namespace raw_mend {

std::optional<FoundImage> find_fitting_rows(Bytes damaged, const Sample& sample) {
    if (!sample.rows || has_twin(sample.description)) {
        return std::nullopt;
    }
    const SamplePlace place{sample.rows->extent.offset, sample.file.size() - sample.rows->extent.end()};
    const RowExtent found = find_row_extent(damaged, sample.rows->geometry, sample.traits, place);
    if (found.images.size() != 1 || found.images[0].is_doubtful() || found.images[0].start < 0) {
        return std::nullopt;
    }
    FoundImage image{Way::kRows, {}, 0, {}};
    auto offset = static_cast<std::uint64_t>(found.images[0].start);
    for (const Piece& piece : sample.description.raw.pieces) {
        const Extent extent{offset, piece.data.length};
        image.pieces.push_back(extent.is_within(damaged) ? std::optional(extent) : std::nullopt);
        offset = extent.end();
    }
    image.proved = found.pieces.size() == 1 ? image.count_found() : 0;
    return image.count_found() == 0 ? std::nullopt : std::optional(std::move(image));
}

} // namespace raw_mend
